#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// Registry scripts in the usual form of COM servers:
//
//   HKCR
//   {
//       NoRemove CLSID
//       {
//           ForceRemove %CLSID% = s 'Some Class'
//           {
//               InprocServer32 = s '%MODULE%'
//               {
//                   val ThreadingModel = s 'Neutral'
//               }
//           }
//       }
//   }
namespace com {

using registry_data = std::variant<std::wstring, DWORD>;

struct registry_value {
    std::wstring name;
    registry_data data;
};

struct registry_key {
    std::wstring name;
    bool force_remove = false;  // made afresh; removed with all that it holds
    bool no_remove = false;     // stays when the script is undone
    std::optional<registry_data> default_value;
    std::vector<registry_value> values;
    std::vector<registry_key> keys;
};

struct registry_root {
    HKEY root;
    std::vector<registry_key> keys;
};

// What stands for "%NAME%" wherever it occurs in a name or text of the script.
using script_arguments = std::map<std::wstring, std::wstring, std::less<>>;

// exc::runtime_exc_t where the text is no such script or names an argument that is not there.
std::vector<registry_root> parse_registry_script(std::string_view utf8, const script_arguments& arguments);

}  // namespace com
