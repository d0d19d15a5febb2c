#include "com/registry_script.h"

#include <gmock/gmock.h>

#include "tests/foundation/thrown.h"

namespace {

const com::script_arguments arguments = {{L"MODULE", L"C:\\it's here\\%APPID%\\{ x.dll"}, {L"APPID", L"{1}"}};

TEST(RegistryScript, IsReadIntoKeysAndValues) {
    const auto roots = com::parse_registry_script(R"(
HKCR { NoRemove CLSID { ForceRemove {2} = s 'Some ''quoted'' Class' {
    InprocServer32 = s '%MODULE%' { val ThreadingModel = s 'Neutral'  val 'A Number' = d '70000' }
    'ForceRemove'
} } }
HKLM { '%APPID%x%APPID%' = s '{' })",
                                                  arguments);
    ASSERT_EQ(roots.size(), 2u);
    const com::registry_key& clsid = roots[0].keys.at(0);
    EXPECT_TRUE(clsid.no_remove && !clsid.force_remove && !clsid.default_value);
    const com::registry_key& one = clsid.keys.at(0);
    EXPECT_TRUE(one.force_remove && !one.no_remove);
    EXPECT_EQ(one.default_value, com::registry_data(L"Some 'quoted' Class"));
    const com::registry_key& server = one.keys.at(0);
    EXPECT_EQ(server.default_value, com::registry_data(L"C:\\it's here\\%APPID%\\{ x.dll"))
        << "an argument is not looked at again";
    EXPECT_EQ(server.values.at(1).name, L"A Number");
    EXPECT_EQ(server.values.at(1).data, com::registry_data(DWORD{70000}));
    EXPECT_EQ(one.keys.at(1).name, L"ForceRemove") << "a quoted word is a name";
    EXPECT_EQ(roots[1].keys.at(0).name, L"{1}x{1}");
    EXPECT_EQ(roots[1].keys.at(0).default_value, com::registry_data(L"{"));
}

TEST(RegistryScript, SaysWhatIsWrongWithIt) {
    const std::pair<const char*, const char*> rows[] = {
        {"HKXX { }", "a root key expected at 'HKXX'"},
        {"HKCR { A", "a name or text expected at ''"},
        {"HKCR A }", "'{' expected at 'A'"},
        {"HKCR { A = x '1' }", "'d' expected at 'x'"},
        {"HKCR { A = d '1a' }", "a decimal number expected at '1a'"},
        {"HKCR { A = d '12345678901' }", "a decimal number expected"},
        {"HKCR { A = s 'open }", "a closing quote expected at 'open }'"},
        {"HKCR { A { val = s 'x' } }", "a name or text expected at '='"},
        {"HKCR { %OTHER% }", "unknown argument at '%OTHER%'"},
        {"HKCR { 100% }", "unknown argument at '%'"},
    };
    for (const auto& [script, complaint] : rows)
        EXPECT_THAT(thrown_text([&, script = script] { com::parse_registry_script(script, arguments); }),
                    ::testing::HasSubstr(complaint))
            << script;
}

}  // namespace
