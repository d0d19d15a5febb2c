#include "vdisk/mount_manager.h"

#include "foundation/errors.h"
#include "foundation/fire_com_exc.h"
#include "logging/write.h"

namespace impl {
namespace {

class lock_guard_t {
public:
    lock_guard_t(HANDLE mutex, DWORD limit_ms) : mutex_(mutex) {
        // An abandoned lock is had, too; what it guards is whole at any time.
        const DWORD result = ::WaitForSingleObject(mutex, limit_ms);
        if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED)
            throw exc::win_sys_exc_t("Failed to lock the mount manager.", result == WAIT_FAILED ? ::GetLastError() : result);
    }
    ~lock_guard_t() { ::ReleaseMutex(mutex_); }
    lock_guard_t(const lock_guard_t&) = delete;
    lock_guard_t& operator=(const lock_guard_t&) = delete;

private:
    const HANDLE mutex_;
};

}  // namespace

CVDiskMountManager::CVDiskMountManager(mount_platform_t platform)
    : platform_(std::move(platform)), lock_(::CreateMutexW(nullptr, FALSE, nullptr)) {
    if (!lock_)
        exc::throw_last_error("Failed to create the mount manager's lock.");
}

template <class Mounter, class Platform>
std::shared_ptr<Mounter> CVDiskMountManager::get_or_create(std::shared_ptr<Mounter>& mounter, const Platform& platform) {
    const lock_guard_t guard(lock_.get(), platform_.lock_limit_ms);
    if (!mounter)
        mounter = std::make_shared<Mounter>(platform);
    return mounter;
}

std::shared_ptr<vdmount::CVmdkMounter> CVDiskMountManager::VmdkMounter() {
    return get_or_create(vmdk_mounter_, platform_.volume);
}

std::shared_ptr<vdmount::CVhdMounter> CVDiskMountManager::VhdMounter() { return get_or_create(vhd_mounter_, platform_.vhd); }

bool CVDiskMountManager::IsSupportedVhdMount() {
    try {
        VhdMounter();
        return true;
    } catch (const std::exception& error) {
        logging::debug("VHD mounting is not supported: %1", exc::message_of(error));
        return false;
    }
}

}  // namespace impl
