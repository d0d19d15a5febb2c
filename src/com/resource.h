#pragma once

// Resources of the module. The type library is number 1, where LoadTypeLib looks for it.
#define IDR_APPID 101
#define IDR_CLASS 102
// Scripts of classes that are no longer: carried, never run.
#define IDR_INSTALL_OPTIONS 103
#define IDR_OLD_CLUSTER_MANAGER 104
#define IDR_VSS_INFO_MANAGER 105
