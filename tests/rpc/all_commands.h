#pragma once

#include "rpc/commands/deployment.h"
#include "rpc/commands/hv_cluster.h"
#include "rpc/commands/hv_restore.h"
#include "rpc/commands/hv_snapshots.h"
#include "rpc/commands/hv_tracking.h"
#include "rpc/commands/hv_vss.h"
#include "rpc/commands/invoker.h"
