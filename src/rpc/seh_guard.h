#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Runs step(frame) and returns 0, or the status that the RPC runtime raised inside it, whatever its number.
//
// The one place that sees structured exceptions. It takes those without parameters, which is how the runtime raises a status,
// also one that a service sent with the code of a fault; those with parameters (a real access violation or stack overflow, a
// C++ exception) pass through. No frame between here and the runtime may hold anything with a destructor: a status unwinds
// them without running it.
unsigned long korva_seh_guard(void (*step)(void*), void* frame);

#ifdef __cplusplus
}
#endif
