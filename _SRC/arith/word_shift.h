// For row kernels only: samples of 8 and 16 bits shifted side by side in words of 32, where the
// shift has an instruction.
#ifndef OWN_WORD_SHIFT_H
#define OWN_WORD_SHIFT_H

#include "arith/single_rows.h"

#include <type_traits>

namespace {

// A word with the same number in all lanes of T.
template <class T> uint32_t ownInAllLanes(uint32_t lane) {
    using U = std::make_unsigned_t<T>;
    return static_cast<U>(lane) * (0xFFFFFFFFu / static_cast<U>(~U{0}));
}

// dst[i] = lane(src[i]), done as word(w) on as many whole words as there are.
template <class T, class Word, class Lane>
void ownMapWords(const char* src, char* dst, ptrdiff_t count, Word word, Lane lane) {
    constexpr ptrdiff_t lanes = 4 / sizeof(T);
    const ptrdiff_t done = count / lanes * 4;
    ownMapRun<uint32_t>(src, dst, count / lanes, word);
    ownMapRun<T>(src + done, dst + done, count % lanes, lane);
}

} // namespace

#endif
