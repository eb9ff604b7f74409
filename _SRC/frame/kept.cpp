#include "frame/kept.h"

#include "frame/context.h"
#include "frame/memory.h"

#include <cstring>

OwnKept* ownKeptState(void (*release)(OwnKept* kept), size_t size) {
    OwnKept** const first = ownGetKept();
    for (OwnKept* kept = *first; kept != nullptr; kept = kept->next)
        if (kept->release == release) return kept;
    auto* made = static_cast<OwnKept*>(ownAlloc(static_cast<int64_t>(size), 1));
    if (made == nullptr) return nullptr;
    memset(static_cast<void*>(made), 0, size);
    made->release = release;
    made->next = *first;
    *first = made;
    return made;
}

void ownReleaseKept(OwnKept* first) {
    while (first != nullptr) {
        OwnKept* const next = first->next;
        first->release(first);
        daxFree(first);
        first = next;
    }
}
