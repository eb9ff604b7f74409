#include "transform/turn.h"

namespace {

constexpr double quarterPi = 0x1.921fb54442d18p-1;

// The Taylor series, from the first term that is below 2^-53 at pi / 4 downwards.
OwnTurn firstEighth(double x) {
    const double z = x * x;
    double cosine = 0;
    double sine = 0;
    for (int32_t i = 18; i > 0; i -= 2) {
        cosine = (1.0 - cosine) * z / (i * (i - 1));
        sine = (1.0 - sine) * z / (i * (i + 1));
    }
    return {1.0 - cosine, x * (1.0 - sine)};
}

} // namespace

OwnTurn ownTurn(int64_t k, int64_t n) {
    const int64_t eighths = k % n * 8;
    const int64_t eighth = eighths / n;
    const int64_t rest = eighths % n;
    // Odd eighths are measured from their other end.
    const int64_t part = (eighth & 1) != 0 ? n - rest : rest;
    OwnTurn turn = firstEighth(static_cast<double>(part) / static_cast<double>(n) * quarterPi);
    if (((eighth + 1) & 2) != 0) turn = {turn.sin, turn.cos};
    if (eighth >= 2 && eighth < 6) turn.cos = -turn.cos;
    if (eighth >= 4) turn.sin = -turn.sin;
    return turn;
}
