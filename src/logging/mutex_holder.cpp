#include "logging/mutex_holder.h"

#include <aclapi.h>

#include "foundation/convert.h"
#include "foundation/errors.h"
#include "foundation/format.h"

namespace win {
namespace {

// SYNCHRONIZE, WRITE_DAC, READ_CONTROL and MUTANT_QUERY_STATE (winnt.h).
constexpr DWORD wait_and_release = 0x0016'0001;

// What lets the whole world use the mutex; `descriptor` points into `list`.
struct world_access_t {
    unique_local_memory list;
    SECURITY_DESCRIPTOR descriptor{};

    world_access_t() {
        SID_IDENTIFIER_AUTHORITY authority = SECURITY_WORLD_SID_AUTHORITY;
        SID everyone{SID_REVISION, 1, authority, {SECURITY_WORLD_RID}};
        EXPLICIT_ACCESSA entry{};
        entry.grfAccessPermissions = wait_and_release;
        entry.grfAccessMode = SET_ACCESS;
        entry.grfInheritance = NO_INHERITANCE;
        entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
        entry.Trustee.TrusteeType = TRUSTEE_IS_GROUP;
        entry.Trustee.ptstrName = reinterpret_cast<char*>(&everyone);

        ACL* made = nullptr;
        if (const DWORD code = ::SetEntriesInAclA(1, &entry, nullptr, &made); code != ERROR_SUCCESS)
            throw exc::win_sys_exc_t("Failed to set entries in ACL", code);
        list.reset(made);
        if (!::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION))
            exc::throw_last_error("Failed to initialize new security descriptor");
        if (!::SetSecurityDescriptorDacl(&descriptor, TRUE, made, FALSE))
            exc::throw_last_error("Failed to set security descriptor DACL");
    }
};

constexpr int open_attempts = 100;  // each but the first after somebody else's mutex went just then

// Code 183 where the mutex was there before. Whoever creates a mutex that is there asks for every right to it, more than the
// list above gives; it is then opened for the two that it takes.
unique_handle create_or_open(const std::string& name, SECURITY_ATTRIBUTES& attributes, DWORD& code) {
    unique_handle mutex;
    for (int attempt = 0; attempt < open_attempts; ++attempt) {
        mutex.reset(::CreateMutexA(&attributes, TRUE, name.c_str()));
        code = ::GetLastError();
        if (mutex || code != ERROR_ACCESS_DENIED)
            break;
        mutex.reset(::OpenMutexA(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, name.c_str()));
        if (mutex) {
            code = ERROR_ALREADY_EXISTS;
            break;
        }
        if (::GetLastError() != ERROR_FILE_NOT_FOUND)
            break;
    }
    return mutex;
}

}  // namespace

void CMutexHolder::acquire(const std::string& name, DWORD wait_ms) {
    world_access_t access;
    release();
    SECURITY_ATTRIBUTES attributes{sizeof attributes, &access.descriptor, FALSE};
    DWORD code = 0;
    unique_handle mutex = create_or_open(name, attributes, code);
    if (!mutex)
        throw exc::win_sys_exc_t(text::format("Failed to create mutex [%1]", text::from_code_page(name)), code);
    if (code == ERROR_ALREADY_EXISTS) {
        const DWORD result = ::WaitForSingleObject(mutex.get(), wait_ms);
        if (result != WAIT_OBJECT_0) {
            const DWORD wait_code = ::GetLastError();
            if (result == WAIT_ABANDONED)
                ::ReleaseMutex(mutex.get());  // it is ours now; kept, it would block every other writer
            throw exc::win_sys_exc_t(text::format("WaitForSingleObject has failed. Result: '%1'.", result), wait_code);
        }
    }
    mutex_ = std::move(mutex);
}

void CMutexHolder::release() noexcept {
    if (!mutex_)
        return;
    ::ReleaseMutex(mutex_.get());
    mutex_.reset();
}

}  // namespace win
