// Work memory of the operations: an owner over the aligned allocator.
#ifndef OWN_MEMORY_H
#define OWN_MEMORY_H

#include "frame/daxlib.h"

#include <cstddef>
#include <cstdint>

// `count` elements aligned to 8 bytes, as daxMalloc gives them; null when they can't be had.
void* ownAlloc(int64_t count, size_t elementSize);

// Owns a block of ownAlloc for a scope. A test of the object tells whether there is one.
template <class T> class OwnBuffer {
public:
    OwnBuffer() = default;
    explicit OwnBuffer(int64_t count) : block(static_cast<T*>(ownAlloc(count, sizeof(T)))) {}
    OwnBuffer(const OwnBuffer&) = delete;
    OwnBuffer& operator=(const OwnBuffer&) = delete;
    ~OwnBuffer() { daxFree(block); }

    explicit operator bool() const { return block != nullptr; }
    T* get() const { return block; }
    T& operator[](ptrdiff_t index) const { return block[index]; }

    // Takes over a block that ownAlloc or one of its exported siblings made.
    void reset(void* other) {
        daxFree(block);
        block = static_cast<T*>(other);
    }

    // Gives the block up to the caller.
    T* release() {
        T* const given = block;
        block = nullptr;
        return given;
    }

private:
    T* block = nullptr;
};

#endif
