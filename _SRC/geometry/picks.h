// Pixels of a row taken from places in another one that are the same for many rows: the places are
// turned once into windows of the source row and shuffles in them.
#ifndef OWN_PICKS_H
#define OWN_PICKS_H

#include <cstddef>
#include <cstdint>

// The destination row goes in steps as wide as the windows, 64 or 16 bytes, and in whole 128 bytes
// of them. Each comes out of one or a few stretches of the source row.
struct OwnWindows {
    ptrdiff_t width;
    ptrdiff_t steps;
    ptrdiff_t again;      // the first step of a round that goes on to the last one
    ptrdiff_t stride;     // bytes of the source from such a round to the next
    ptrdiff_t last;       // of the places where a window may begin
    ptrdiff_t count;      // windows to a step; 0 if there are none and places count one by one
    const int32_t* first; // of each window, `steps` at a time
    // The place in the window of every byte of a step; its highest bit is set if it comes from
    // another window.
    const uint8_t* order;
};

struct OwnPickForm {
    ptrdiff_t bytes;   // of a sample; places count bytes
    ptrdiff_t samples; // of a pixel
    ptrdiff_t stepDst; // bytes from pixel to pixel
    ptrdiff_t end;     // of the bytes of a source row that may be read
};

// Rows of the source, each of which goes to as many rows of the destination.
struct OwnPickRows {
    const char* const* src;
    ptrdiff_t count;
    ptrdiff_t copies;
    char* dst;
    ptrdiff_t stepDst;
};

struct OwnPickTable;

class OwnPicks {
public:
    // Of a destination row, for windows.
    static constexpr ptrdiff_t mostBytes = 16384;

    // `at` is used on.
    void set(const OwnPickForm& theForm, const int32_t* at, ptrdiff_t count);
    // So many places in all: each time that they end, those from `again` on come once more,
    // `stride` bytes further on. Rounds of them are whole 128 bytes.
    void repeat(ptrdiff_t total, ptrdiff_t again, ptrdiff_t stride);
    void run(const OwnPickRows& rows) const;
    void run(const char* src, char* dst, ptrdiff_t rowStep, ptrdiff_t copies) const {
        run({&src, 1, copies, dst, rowStep});
    }
    // Null if there are none.
    const OwnWindows* found() const { return windows.count != 0 ? &windows : nullptr; }

private:
    bool findWindows();
    void pickPixels(const char* src, char* dst) const;

    const OwnPickTable* kernels;
    OwnPickForm form;
    const int32_t* places;
    ptrdiff_t placeCount;
    ptrdiff_t total;
    ptrdiff_t again;
    OwnWindows windows;
    int32_t first[mostBytes / 16];
    uint8_t order[mostBytes];
};

struct OwnPickTable {
    ptrdiff_t (*widest)(); // the width of windows that the kernels can do with, or 0
    void (*bytes)(const OwnPickRows& rows, const OwnWindows& windows, ptrdiff_t count);
    // One by one; pixels of samples of 1 or 2 bytes.
    void (*pixels[2])(const char* src, const int32_t* at, char* dst, ptrdiff_t stepDst,
                      ptrdiff_t samples, ptrdiff_t count);
};

struct OwnPick {
    using Table = OwnPickTable;
};

#endif
