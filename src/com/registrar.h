#pragma once

#include <windows.h>

#include "com/registry_script.h"

// Runs registry scripts that lie in the module's resources. Both ways may be repeated; failures are exc::win_sys_exc_t.
namespace com::registrar {

void run(UINT script, const script_arguments& arguments);

// Removes what run() has made, except keys that the script marks NoRemove and keys in which others have made keys of their own.
void undo(UINT script, const script_arguments& arguments);

}  // namespace com::registrar
