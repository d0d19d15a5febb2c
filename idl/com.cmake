# The type library, its header and its identifiers, from KorvaProxyClient.idl.
#   korva_com_idl   header KorvaProxyClient.h and the identifiers (IID_..., CLSID_..., LIBID_...)
#   KORVA_TYPELIB   the type library's file, beside the programs

find_path(KORVA_SYSTEM_TYPELIBS stdole2.tlb PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows /usr/lib/wine/x86_64-windows
          REQUIRED NO_CMAKE_FIND_ROOT_PATH)

set(korva_com_out ${CMAKE_CURRENT_BINARY_DIR}/com)
file(MAKE_DIRECTORY ${korva_com_out} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
set(KORVA_TYPELIB ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/KorvaProxyClient.tlb)
add_custom_command(
    OUTPUT ${korva_com_out}/KorvaProxyClient.h ${korva_com_out}/KorvaProxyClient_i.c ${KORVA_TYPELIB}
    COMMAND ${KORVA_WIDL} --win64 -I ${KORVA_SYSTEM_IDL} -L ${KORVA_SYSTEM_TYPELIBS} -t -h -u
            ${CMAKE_CURRENT_SOURCE_DIR}/KorvaProxyClient.idl
    COMMAND ${KORVA_PYTHON} -B ${CMAKE_CURRENT_SOURCE_DIR}/fixed_time.py KorvaProxyClient.tlb ${KORVA_TYPELIB}
    DEPENDS KorvaProxyClient.idl fixed_time.py
    WORKING_DIRECTORY ${korva_com_out}
    COMMENT "Building the type library")

add_library(korva_com_idl STATIC ${korva_com_out}/KorvaProxyClient_i.c ${korva_com_out}/KorvaProxyClient.h ${KORVA_TYPELIB})
target_include_directories(korva_com_idl SYSTEM PUBLIC ${korva_com_out})
set_target_properties(korva_com_idl PROPERTIES KORVA_TYPELIB ${KORVA_TYPELIB})
