// The kernel record of the convolutions. Its reports come under daxConvolve2D.

#include "filter/convkernel.h"

#include "frame/call.h"
#include "frame/memory.h"
#include "frame/platform.h"

#include <cstring>

namespace {

constexpr OwnCall call = {"daxConvolve2D", "daxcnv2d"};

} // namespace

bool ownBadKernel(const DaxConvKernel* kernel) {
    return kernel->nRows < 1 || kernel->nCols < 1 || kernel->anchorX < 0 || kernel->anchorY < 0 ||
           kernel->nRows <= kernel->anchorY || kernel->nCols <= kernel->anchorX;
}

DaxConvKernel* daxCreateConvKernel(int32_t nRows, int32_t nCols, int32_t anchorX, int32_t anchorY,
                                   const int8_t* values, int32_t nShiftR) {
    if (call.rejects(values == nullptr, "(values == 0)")) return nullptr;
    if (call.rejects(nRows <= 0 || nCols <= 0, "(nRows<=0 || nCols<=0)")) return nullptr;
    if (call.rejects(anchorX < 0 || anchorY < 0 || nRows <= anchorY || nCols <= anchorX,
                     "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)"))
        return nullptr;
    auto* kernel = static_cast<DaxConvKernel*>(ownPlatform.heapAlloc(sizeof(DaxConvKernel)));
    const int64_t count = int64_t{nRows} * nCols;
    // A record that has no coefficients isn't given back, here as in daxDeleteConvKernel.
    void* block = kernel != nullptr ? ownAlloc(count, 1) : nullptr;
    if (block == nullptr) {
        call.report(DAX_StatusOutOfMemory, "Allocation failure");
        return nullptr;
    }
    *kernel = {nRows, nCols, anchorX, anchorY, nShiftR, static_cast<int8_t*>(block)};
    memcpy(block, values, static_cast<size_t>(count));
    return kernel;
}

void daxGetConvKernel(const DaxConvKernel* kernel, int32_t* nRows, int32_t* nCols, int32_t* anchorX,
                      int32_t* anchorY, int8_t* const* values, int32_t* nShiftR) {
    if (call.rejects(kernel == nullptr, "kernel==0")) return;
    if (call.rejects(ownBadKernel(kernel), "ownBadKernel(kernel)")) return;
    bool bad = call.rejects(nRows == nullptr, "nRows==0");
    bad = call.rejects(nCols == nullptr, "nCols==0") || bad;
    if (bad || daxGetErrStatus() < 0) return;
    bad = call.rejects(anchorX == nullptr, "anchorX==0");
    bad = call.rejects(anchorY == nullptr, "anchorY==0") || bad;
    if (bad || daxGetErrStatus() < 0) return;
    if (call.rejects(values == nullptr, "values==0")) return;
    if (call.rejects(nShiftR == nullptr, "nShiftR==0")) return;
    *nRows = kernel->nRows;
    *nCols = kernel->nCols;
    *anchorX = kernel->anchorX;
    *anchorY = kernel->anchorY;
    *nShiftR = kernel->nShiftR;
    memcpy(*values, kernel->values, static_cast<size_t>(int64_t{kernel->nRows} * kernel->nCols));
}

void daxDeleteConvKernel(DaxConvKernel* kernel) {
    if (call.rejects(kernel == nullptr, "kernel==0")) return;
    if (call.rejects(kernel->values == nullptr, "kernel->values==0")) return;
    daxFree(kernel->values);
    ownPlatform.heapFree(kernel);
}
