// Row kernels and how one is chosen. Every *_rows.cpp is compiled once per instruction set, with
// OWN_ISA naming the set, and gives the tables of its operations for that set; all sets give the
// same bits. The set that the processor has is found once, when the library is loaded.
//
// A module declares a tag for its operation, with the type of its table:
//     struct OwnAdd { using Table = OwnPairTable; };
// its rows file defines the table:
//     template <> const OwnPairTable& ownRowTable<OwnAdd, OWN_ISA>() { ... }
// and its other code takes the one in use by ownRows<OwnAdd>().
#ifndef OWN_KERNELS_H
#define OWN_KERNELS_H

#include <cstdint>

struct OwnBaseline {};
struct OwnAvx2 {};
struct OwnAvx512 {};

enum class OwnIsa : int32_t { baseline, avx2, avx512 };

// The best set that the processor has, and the one in use. A test may put a smaller one in use.
OwnIsa ownBestIsa();
OwnIsa ownIsa();
void ownUseIsa(OwnIsa isa);

template <class Op, class Isa> const typename Op::Table& ownRowTable();

template <class Op> const typename Op::Table& ownRows() {
#if OWN_HAS_X86_TABLES
    switch (ownIsa()) {
    case OwnIsa::avx512: return ownRowTable<Op, OwnAvx512>();
    case OwnIsa::avx2: return ownRowTable<Op, OwnAvx2>();
    case OwnIsa::baseline: break;
    }
#endif
    return ownRowTable<Op, OwnBaseline>();
}

#endif
