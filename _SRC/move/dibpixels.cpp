// Pixels between bitmaps and images, in blocks that stay in the cache.
#include "frame/channels.h"
#include "frame/depth.h"
#include "frame/memory.h"
#include "move/daxbitnl.h"
#include "move/daxdib.h"

#include <cstring>

namespace {

struct Block {
    uint8_t run[4][ownDibBlock];
    uint16_t wide[4][ownDibBlock];
};

// The rows of a bitmap, from the top of the picture.
struct BitmapRows {
    explicit BitmapRows(const BITMAPINFOHEADER* dib)
        : table(ownDibTable(dib)),
          pixels(reinterpret_cast<const char*>(table) + ownDibTableSize(dib) * ownDibEntryBytes),
          step(ownDibRowStep(dib)), rows(ownDibRows(dib)), bits(dib->biBitCount),
          upward(dib->biHeight > 0) {}

    ptrdiff_t offset(int64_t row, int64_t column) const {
        return (upward ? rows - 1 - row : row) * step + column * bits / 8;
    }

    const uint8_t* table;
    const char* pixels;
    int64_t step;
    int64_t rows;
    int32_t bits;
    bool upward;
};

// Calls `use(y, x, count)` for the blocks of pixels that an image of so many columns shares with a
// bitmap.
template <class Use>
void eachBlock(const OwnDibRows& image, const BitmapRows& bitmap, int64_t columns, Use use) {
    for (int64_t y = 0; y < bitmap.rows; ++y) {
        const int64_t count = image.inside(y, columns);
        for (int64_t x = 0; x < count; x += ownDibBlock)
            use(y, x, count - x < ownDibBlock ? count - x : ownDibBlock);
    }
}

struct Entries {
    uint32_t pixel[256];
};

// What every index stands for. One past the table reads on, and past all of the bitmap stands for
// the last entry.
void entriesOf(const BITMAPINFOHEADER* dib, Entries* entries) {
    const int64_t size = ownDibTableSize(dib);
    const int64_t all = (ownDibBytes(dib) - dib->biSize) / ownDibEntryBytes;
    for (int64_t i = 0; i < 256; ++i)
        memcpy(&entries->pixel[i], ownDibTable(dib) + (i < all ? i : size - 1) * ownDibEntryBytes,
               sizeof(uint32_t));
}

char* bytesOf(void* samples) { return static_cast<char*>(samples); }

// A block of an image from its runs, which are in the order of its channels.
void putBlock(const OwnDibRows& image, int64_t y, int64_t x, ptrdiff_t count,
              const uint8_t* const* channel, Block* block) {
    const OwnDibTable& rows = ownRows<OwnDib>();
    if (image.sampleBytes == 0) return rows.pack(channel[0], image.at(y, 0) + x / 8, count);
    const char* samples[4];
    for (int32_t c = 0; c < image.channels; ++c) {
        samples[c] = reinterpret_cast<const char*>(channel[c]);
        if (image.sampleBytes == 1) continue;
        rows.widen(channel[c], block->wide[c], count);
        samples[c] = bytesOf(block->wide[c]);
    }
    const ptrdiff_t bytes = image.sampleBytes;
    if (!image.planes)
        return ownJoinChannels(bytes, samples, image.at(y, 0) + x * bytes * image.channels,
                               image.channels, count);
    for (int32_t c = 0; c < image.channels; ++c)
        memcpy(image.at(y, c) + x * bytes, samples[c], static_cast<size_t>(count * bytes));
}

// Runs of bytes from a block of an image, in the order of its channels.
void takeBlock(const OwnDibRows& image, int64_t y, int64_t x, ptrdiff_t count,
               const uint8_t** channel, Block* block) {
    const OwnDibTable& rows = ownRows<OwnDib>();
    for (int32_t c = 0; c < image.channels; ++c) channel[c] = block->run[c];
    if (image.sampleBytes == 0)
        return ownRows<OwnBitonal>().expand[0](image.at(y, 0) + x / 8, bytesOf(block->run[0]),
                                               count, 0, 255);
    const ptrdiff_t bytes = image.sampleBytes;
    char* samples[4];
    if (image.planes) {
        for (int32_t c = 0; c < image.channels; ++c) samples[c] = image.at(y, c) + x * bytes;
    } else {
        for (int32_t c = 0; c < image.channels; ++c)
            samples[c] = bytes == 1 ? bytesOf(block->run[c]) : bytesOf(block->wide[c]);
        ownSplitChannels(bytes, image.at(y, 0) + x * bytes * image.channels, samples,
                         image.channels, count);
    }
    for (int32_t c = 0; c < image.channels; ++c)
        if (bytes == 2)
            rows.narrow(samples[c], block->run[c], count);
        else
            channel[c] = reinterpret_cast<const uint8_t*>(samples[c]);
}

void split(const char* src, uint8_t* const* runs, int32_t channels, ptrdiff_t count) {
    char* to[4];
    for (int32_t c = 0; c < channels; ++c) to[c] = bytesOf(runs[c]);
    ownSplitChannels(1, src, to, channels, count);
}

// The search for nearest entries: in a table of up to 256 a block of pixels at a time.
struct Search {
    explicit Search(const BITMAPINFOHEADER* dib)
        : table(ownDibTable(dib)), size(ownDibTableSize(dib)), oneBit(dib->biBitCount == 1) {
        // A pixel's samples come times 4, and make products of 512 times; a key is 256 times what
        // is looked for, and the place.
        for (int32_t i = 0; i < size && size <= ownDibPageSize; ++i) {
            const uint8_t* entry = table + i * ownDibEntryBytes;
            uint32_t word[3];
            int32_t square = 0;
            for (int32_t c = 0; c < 3; ++c) {
                word[c] = -128u * entry[c] & 0xFFFF;
                square += entry[c] * entry[c];
            }
            page.blueGreen[i] = static_cast<int32_t>(word[0] | word[1] << 16);
            page.red[i] = static_cast<int32_t>(word[2]);
            page.base[i] = square * 256 + i;
        }
    }

    void find(const uint8_t* const* runs, uint8_t* indices, ptrdiff_t count) const {
        if (size <= ownDibPageSize)
            return ownRows<OwnDib>().nearest(runs, page, static_cast<int32_t>(size), indices,
                                             count);
        for (ptrdiff_t i = 0; i < count; ++i) {
            const uint8_t pixel[] = {runs[0][i], runs[1][i], runs[2][i]};
            const int64_t index = ownNearestEntry(pixel, table, size);
            // A bit tells an index from 0, however large it is.
            indices[i] = static_cast<uint8_t>(index != 0 && oneBit ? 1 : index);
        }
    }

    const uint8_t* table;
    int64_t size;
    bool oneBit;
    OwnDibPage page;
};

// Whether a pixel is the same three bytes in both, in the same order or the opposite one.
bool sameBytes(const OwnDibRows& image, const BitmapRows& bitmap, OwnDibStep step) {
    return bitmap.bits == 24 && image.channels == 3 && image.sampleBytes == 1 && !image.planes &&
           step != OwnDibStep::grey;
}

void copyPixels(const char* src, char* dst, ptrdiff_t count, OwnDibStep step) {
    if (step == OwnDibStep::exchange)
        ownRows<OwnDib>().exchange(src, dst, count);
    else
        memcpy(dst, src, static_cast<size_t>(count * 3));
}

} // namespace

int64_t ownNearestEntry(const uint8_t* pixel, const uint8_t* table, int64_t count) {
    int64_t nearest = 0;
    int32_t least = INT32_MAX;
    for (int64_t i = 0; i < count; ++i) {
        int32_t distance = 0;
        for (int32_t c = 0; c < 3; ++c) {
            const int32_t apart = pixel[c] - table[i * ownDibEntryBytes + c];
            distance += apart * apart;
        }
        if (distance >= least) continue;
        least = distance;
        nearest = i;
    }
    return nearest;
}

void ownDibRead(const BITMAPINFOHEADER* dib, const DaxImage* image) {
    const OwnDibTable& rows = ownRows<OwnDib>();
    const OwnDibRows to(image);
    const BitmapRows from(dib);
    const OwnDibStep step = ownDibStep(image);
    if (to.first == nullptr) return;

    Entries entries;
    DaxDibFields fields = {};
    if (ownDibIndexed(from.bits)) entriesOf(dib, &entries);
    if (from.bits == 16 || from.bits == 32) fields = ownDibFields(dib);

    Block block;
    memset(block.run[3], 0, sizeof(block.run[3]));
    uint8_t* runs[4];
    const uint8_t* channel[4];
    for (int32_t c = 0; c < 4; ++c) channel[c] = runs[c] = block.run[c];
    if (step == OwnDibStep::exchange) {
        channel[0] = runs[2];
        channel[2] = runs[0];
    }
    // What stands third is what a single channel gets.
    if (to.channels == 1) channel[0] = channel[2];

    const bool same = sameBytes(to, from, step);
    const bool weighed =
        from.bits == 24 && step == OwnDibStep::grey && to.channels == 1 && to.sampleBytes == 1;
    const int64_t columns = dib->biWidth < image->width ? dib->biWidth : image->width;
    eachBlock(to, from, columns, [&](int64_t y, int64_t x, ptrdiff_t count) {
        const char* src = from.pixels + from.offset(y, x);
        if (same) return copyPixels(src, to.at(y, 0) + x * 3, count, step);
        if (weighed) {
            const ptrdiff_t done = rows.weigh(src, to.at(y, 0) + x, count);
            if (done == count) return;
            src += done * 3;
            x += done;
            count -= done;
        }
        if (ownDibIndexed(from.bits)) {
            uint8_t indices[ownDibBlock];
            uint32_t pixels[ownDibBlock];
            const auto* at = reinterpret_cast<const uint8_t*>(src);
            if (from.bits < 8) {
                rows.spread[from.bits / 4](src, indices, count);
                at = indices;
            }
            rows.lookUp(at, entries.pixel, pixels, count);
            split(bytesOf(pixels), runs, 4, count);
        } else if (from.bits == 24) {
            split(src, runs, 3, count);
        } else {
            rows.takeFields[from.bits / 32](src, fields, runs, count);
        }
        if (step == OwnDibStep::grey) rows.luminance(runs[0], runs[1], runs[2], count);
        putBlock(to, y, x, count, channel, &block);
    });
}

void ownDibWrite(const DaxImage* image, BITMAPINFOHEADER* dib) {
    const OwnDibTable& rows = ownRows<OwnDib>();
    const OwnDibRows from(image);
    const BitmapRows to(dib);
    const OwnDibStep step = ownDibStep(image);
    if (from.first == nullptr) return;

    DaxDibFields fields = {};
    if (to.bits == 16 || to.bits == 32) fields = ownDibFields(dib);
    char* const pixels = bytesOf(ownDibTable(dib)) + ownDibTableSize(dib) * ownDibEntryBytes;

    Block block;
    const uint8_t none[ownDibBlock] = {};
    const bool same = sameBytes(from, to, step);
    const Search search(dib);
    eachBlock(from, to, image->width, [&](int64_t y, int64_t x, ptrdiff_t count) {
        char* dst = pixels + to.offset(y, x);
        if (same) return copyPixels(from.at(y, 0) + x * 3, dst, count, step);
        const uint8_t* channel[4] = {none, none, none, none};
        takeBlock(from, y, x, count, channel, &block);
        const uint8_t* runs[] = {channel[0], channel[1], channel[2], channel[3]};
        if (from.channels == 1) runs[1] = runs[2] = channel[0];
        if (step == OwnDibStep::exchange) {
            runs[0] = runs[2];
            runs[2] = channel[0];
        } else if (step == OwnDibStep::grey) {
            runs[0] = runs[1] = runs[2];
            runs[3] = none;
        }
        if (to.bits == 24) {
            const char* join[3];
            for (int32_t c = 0; c < 3; ++c) join[c] = reinterpret_cast<const char*>(runs[c]);
            ownJoinChannels(1, join, dst, 3, count);
        } else if (to.bits > 8) {
            rows.putFields[to.bits / 32](runs, fields, dst, count);
        } else {
            uint8_t indices[ownDibBlock];
            search.find(runs, indices, count);
            rows.putIndices[to.bits / 4](indices, dst, count);
        }
    });
}
