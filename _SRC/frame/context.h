// The calling thread's context, and the load routine that makes and frees contexts.
#ifndef OWN_CONTEXT_H
#define OWN_CONTEXT_H

#include "frame/daxlib.h"

#include <cstdint>

struct OwnKept;

// What hangs on a thread. The context, which callers get whole, is a record of its own.
struct OwnThread {
    DaxContext context;
    OwnKept* kept;
};

enum class OwnLoadReason : int32_t {
    processDetach = 0,
    processAttach = 1,
    threadAttach = 2,
    threadDetach = 3
};

// The load routine. False refuses the attach.
bool ownLoad(OwnLoadReason reason);

// The calling thread's context. Without one it ends the process and doesn't return.
DaxContext* ownGetContext();

// Where the list of what operations keep for the calling thread begins.
OwnKept** ownGetKept();

// Puts a value into the calling thread's slot; false when there is no slot or the platform refuses.
// For a platform that empties the slot before it tells of a thread's end.
bool ownPutContext(void* context);

#endif
