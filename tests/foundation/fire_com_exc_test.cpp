#include "foundation/fire_com_exc.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>

#include "foundation/errors.h"
#include "foundation/nesting.h"
#include "tests/foundation/error_object.h"

namespace {

const IID source_iid = {0x9A71BD96, 0x1BA4, 0x4050, {0x9E, 0xD1, 0xE5, 0x59, 0x20, 0x4C, 0xD6, 0x54}};

struct row {
    const char* name;
    std::shared_ptr<std::exception> error;
    std::uint32_t result;
    std::optional<std::string> description;
};

TEST(FireComExc, TranslatesEachKind) {
    const row rows[] = {
        {"a Win32 code", std::make_shared<exc::win_sys_exc_t>("m", 1753), 0x800706D9, exc::win_sys_exc_t("m", 1753).what()},
        {"code 0", std::make_shared<exc::win_sys_exc_t>("m", 0), 0, exc::win_sys_exc_t("m", 0).what()},
        {"an HRESULT as code", std::make_shared<exc::win_sys_exc_t>("m", 0x80070057), 0x80070057,
         exc::win_sys_exc_t("m", 0x80070057).what()},
        {"more than 16 bits", std::make_shared<exc::win_sys_exc_t>("m", 0x00123456), 0x80073456,
         exc::win_sys_exc_t("m", 0x00123456).what()},
        {"an RPC status", std::make_shared<exc::rpc_exc_t>(1753), 0x800106D9, exc::rpc_exc_t(1753).what()},
        {"out of memory", std::make_shared<std::bad_alloc>(), 0x8007000E, std::nullopt},
        {"own text", std::make_shared<exc::runtime_exc_t>("text \xd0\x96"), 0x80020009, "text \xd0\x96"},
        {"wrapped", std::make_shared<exc::runtime_exc_t>(exc::nested("outer", exc::rpc_exc_t(1722))), 0x80020009,
         std::string("outer\n") + exc::rpc_exc_t(1722).what()},
        {"an empty first line", std::make_shared<exc::runtime_exc_t>(exc::nested("", exc::runtime_exc_t("inner"))), 0x80020009,
         "\ninner"},
        {"a COM error", std::make_shared<exc::com_exc_t>(E_FAIL, "m"), 0x80020009, " Error code: 0x80004005\nm"},
        {"an NT status", std::make_shared<exc::CNtStatusExc>(0xC0000022), 0x80020009, exc::CNtStatusExc(0xC0000022).what()},
        {"a locked file", std::make_shared<exc::file_locked_exc_t>("m"), 0x80020009, "m"},
        {"of an object", std::make_shared<impl::rt_exception>("m"), 0x80020009, "m"},
        {"a standard one", std::make_shared<std::out_of_range>("m"), 0x80020009, "m"},
        {"without text", std::make_shared<exc::runtime_exc_t>(""), 0x80020009, ""},
        {"not UTF-8", std::make_shared<exc::runtime_exc_t>("\xC3("), 0x8007000E, std::nullopt},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(r.name);
        leave_foreign_error();
        EXPECT_EQ(static_cast<std::uint32_t>(exc::CFireComExcMixin::fire_com_exc(*r.error, source_iid)), r.result);
        const auto object = take_error();
        ASSERT_EQ(object.has_value(), r.description.has_value());
        if (object) {
            EXPECT_EQ(object->description, *r.description);
            EXPECT_TRUE(IsEqualGUID(object->source, source_iid));
        }
    }
}

}  // namespace
