// Cosines and sines for tables, the same bits on every processor: the angle is a fraction of the
// circle in whole numbers, brought into the first eighth exactly, and there a polynomial of plain
// sums and products does the rest. They are within 2^-52 of the true value.
#ifndef OWN_TURN_H
#define OWN_TURN_H

#include <cstdint>

struct OwnTurn {
    double cos;
    double sin;
};

// The angle 2 pi k / n, for k from 0 and n from 1, both below 2^59.
OwnTurn ownTurn(int64_t k, int64_t n);

#endif
