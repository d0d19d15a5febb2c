// Memory of the RPC stubs, client and server: the plain process heap. Blocks start zeroed, so that a reply that breaks off in
// the middle of a record leaves no wild pointer in it, and the heap tells a block's size to whoever checks a reply's counts.
#include <windows.h>
#include <rpc.h>
#include <rpcndr.h>

void* __RPC_USER MIDL_user_allocate(size_t size) { return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size); }

void __RPC_USER MIDL_user_free(void* block) { HeapFree(GetProcessHeap(), 0, block); }
