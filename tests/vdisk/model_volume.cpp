#include "tests/vdisk/model_volume.h"

#include <algorithm>
#include <cstring>

#include "foundation/errors.h"

using namespace impl::vdmount;

namespace {

model_volume_t* model = nullptr;

constexpr NTSTATUS invalid_parameter = static_cast<NTSTATUS>(0xC000000D);
constexpr NTSTATUS access_denied = static_cast<NTSTATUS>(0xC0000022);
constexpr NTSTATUS name_not_found = static_cast<NTSTATUS>(0xC0000034);

BOOL fail(DWORD error) {
    ::SetLastError(error);
    return FALSE;
}

}  // namespace

bool thread_has_token() {
    win::unique_handle token;
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.put()) != FALSE;
}

struct model_calls {
    static DWORD WINAPI get_file_attributes(LPCWSTR path) {
        std::wstring_view there = model->path;
        if (!std::wstring_view(path).ends_with(L'\\'))
            there.remove_suffix(1);
        if (path == there)
            return FILE_ATTRIBUTE_DIRECTORY;
        if (path == std::wstring_view(L"E:\\file"))
            return FILE_ATTRIBUTE_NORMAL;
        fail(ERROR_PATH_NOT_FOUND);
        return INVALID_FILE_ATTRIBUTES;
    }

    static HANDLE WINAPI create_file(LPCWSTR path, DWORD access, DWORD sharing, LPSECURITY_ATTRIBUTES security,
                                     DWORD disposition, DWORD flags, HANDLE) {
        ++model->opens;
        DWORD error = model->root_error;
        if (path != model->path || access != 0x81 || sharing != 3 || security || disposition != OPEN_EXISTING ||
            flags != FILE_FLAG_BACKUP_SEMANTICS)
            error = ERROR_INVALID_PARAMETER;
        if (error) {
            fail(error);
            return INVALID_HANDLE_VALUE;
        }
        return model->root_ = model->give_handle();
    }

    static NTSTATUS NTAPI nt_create_file(PHANDLE file, ACCESS_MASK access, POBJECT_ATTRIBUTES object, PIO_STATUS_BLOCK,
                                         PLARGE_INTEGER size, ULONG attributes, ULONG sharing, ULONG disposition, ULONG options,
                                         PVOID ea, ULONG ea_length) {
        if (object->Length != sizeof *object || object->RootDirectory != model->root_ || size || attributes ||
            disposition != 1 || ea || ea_length)
            return invalid_parameter;
        const UNICODE_STRING& name = *object->ObjectName;
        if (access == 0x100081 && sharing == 3 && options == 0x21 && object->Attributes == OBJ_CASE_INSENSITIVE) {
            if (std::wstring_view(name.Buffer, name.Length / 2) != L"$Extend\\$Reparse:$R:$INDEX_ALLOCATION")
                return name_not_found;
            if (model->index_status)
                return static_cast<NTSTATUS>(model->index_status);
            model->next_entry_ = model->passes = 0;
            *file = model->index_ = model->give_handle();
            return 0;
        }
        if (access != 0x100198 || sharing != 0 || options != 0x202020 || name.Length != 8 || object->Attributes)
            return invalid_parameter;
        std::int64_t reference;
        std::memcpy(&reference, name.Buffer, sizeof reference);
        const auto number = static_cast<std::size_t>(reference - model_volume_t::first_reference);
        model->opened_points.push_back(number);
        model->point_ = &model->point_at(number);
        if (model->point_->fails_at == model_volume_t::opening)
            return access_denied;
        *file = model->point_handle_ = model->give_handle();
        return 0;
    }

    static NTSTATUS NTAPI nt_query_directory_file(HANDLE file, HANDLE event, PIO_APC_ROUTINE routine, PVOID context,
                                                  PIO_STATUS_BLOCK io_status, PVOID buffer, ULONG length,
                                                  FILE_INFORMATION_CLASS information_class, BOOLEAN single_entry,
                                                  PUNICODE_STRING file_name, BOOLEAN restart) {
        const std::size_t pass = model->passes++;
        if (file != model->index_ || event || routine || context || length != 16384 || information_class != 33 ||
            single_entry || file_name || (restart != FALSE) != (pass == 0))
            return invalid_parameter;
        auto* entries = static_cast<index_entry_t*>(buffer);
        const std::size_t count = std::min(model->index_size() - model->next_entry_, reparse_index_t::pass_size);
        if (count == 0)
            return static_cast<NTSTATUS>(model->end_status);
        for (std::size_t i = 0; i < count; ++i, ++model->next_entry_)
            entries[i] = {model_volume_t::first_reference + static_cast<std::int64_t>(model->next_entry_),
                          model->tag_of(model->next_entry_), 0xCCCCCCCC};
        io_status->Information = count * sizeof *entries;
        return 0;
    }

    static BOOL WINAPI device_io_control(HANDLE file, DWORD code, LPVOID in, DWORD in_size, LPVOID out, DWORD out_size,
                                         LPDWORD returned, LPOVERLAPPED overlapped) {
        model_volume_t::point_t& point = *model->point_;
        if (file != model->point_handle_ || overlapped)
            return fail(ERROR_INVALID_HANDLE);
        if (code == model_volume_t::reading)
            point.read_sizes.push_back(out_size);
        if (code == point.fails_at)
            return fail(point.error);
        const auto* request = static_cast<const std::uint8_t*>(in);
        switch (code) {
            case model_volume_t::reading:
                *returned = static_cast<DWORD>(std::min<std::size_t>(point.data.size(), out_size));
                std::copy_n(point.data.begin(), *returned, static_cast<std::uint8_t*>(out));
                return point.data.size() > out_size ? fail(point.too_small_error) : TRUE;
            case model_volume_t::deleting: {
                bytes_t expected(point.data.begin(), point.data.begin() + ((point.tag & 0x80000000) ? 8 : 24));
                std::memcpy(expected.data(), &point.tag, 4);
                std::fill_n(expected.begin() + 4, 4, std::uint8_t{0});
                point.deleted = std::equal(expected.begin(), expected.end(), request, request + in_size);
                return point.deleted ? TRUE : fail(ERROR_REPARSE_TAG_MISMATCH);
            }
            case model_volume_t::setting:
                if (!point.deleted || in_size < 8 || request[4] + 256u * request[5] + 8 != in_size)
                    return fail(ERROR_INVALID_REPARSE_DATA);
                if (request[0] == (tag_symbolic_link & 0xFF) && !thread_has_token())
                    return fail(ERROR_PRIVILEGE_NOT_HELD);
                point.set.assign(request, request + in_size);
                return TRUE;
            default:
                return fail(ERROR_INVALID_FUNCTION);
        }
    }

    static BOOL WINAPI get_file_information(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information) {
        if (file != model->point_handle_ || model->point_->fails_at == model_volume_t::reading_attributes)
            return fail(ERROR_ACCESS_DENIED);
        information->dwFileAttributes = model->point_->directory ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
        return TRUE;
    }

    static FARPROC ntdll_function(const char* name) {
        if (name == model->missing_function) {
            fail(ERROR_PROC_NOT_FOUND);
            return nullptr;
        }
        return name == std::string_view("NtCreateFile") ? reinterpret_cast<FARPROC>(&nt_create_file)
                                                        : reinterpret_cast<FARPROC>(&nt_query_directory_file);
    }

    static win::held_privilege_t take_privilege(const win::privilege_t& privilege) {
        if (model->privilege_error || privilege.name != std::wstring_view(L"SeCreateSymbolicLinkPrivilege"))
            throw exc::win_sys_exc_t("Refused.", model->privilege_error);
        return win::take_privilege(win::manage_volume_privilege);  // one that every account of a test has
    }
};

model_volume_t::model_volume_t() : object_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) { model = this; }

model_volume_t::~model_volume_t() { model = nullptr; }

volume_functions_t model_volume_t::functions() const {
    return {&model_calls::get_file_attributes,  &model_calls::create_file,    &model_calls::device_io_control,
            &model_calls::get_file_information, &model_calls::ntdll_function, &model_calls::take_privilege};
}

HANDLE model_volume_t::give_handle() {
    HANDLE handle = nullptr;
    ::DuplicateHandle(::GetCurrentProcess(), object_.get(), ::GetCurrentProcess(), &handle, 0, FALSE, DUPLICATE_SAME_ACCESS);
    return handle;
}

bool model_volume_t::is_all_given_back() const {
    PUBLIC_OBJECT_BASIC_INFORMATION information{};
    ULONG size = 0;
    ::NtQueryObject(object_.get(), ObjectBasicInformation, &information, sizeof information, &size);
    return information.HandleCount == 1 && !thread_has_token();
}
