#ifndef DAXLIB_H
#define DAXLIB_H

#include <stddef.h>
#include <stdint.h>

/* Whoever declares BITMAPINFOHEADER elsewhere defines DAX_HAVE_BITMAPINFOHEADER ahead of this header. */
#if defined(_WIN32) && !defined(DAX_HAVE_BITMAPINFOHEADER)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#define DAX_OWN_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#define DAX_OWN_NOMINMAX
#endif
#include <windows.h>
#ifdef DAX_OWN_LEAN_AND_MEAN
#undef WIN32_LEAN_AND_MEAN
#undef DAX_OWN_LEAN_AND_MEAN
#endif
#ifdef DAX_OWN_NOMINMAX
#undef NOMINMAX
#undef DAX_OWN_NOMINMAX
#endif
#define DAX_HAVE_BITMAPINFOHEADER
#endif

#if defined(DAX_STATIC)
#define DAX_API
#elif defined(_WIN32)
#if defined(DAX_BUILDING)
#define DAX_API __declspec(dllexport)
#else
#define DAX_API __declspec(dllimport)
#endif
#else
#define DAX_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Status codes. */

typedef int32_t DaxStatus;

#define DAX_StatusNoError 0
#define DAX_StatusBacktrace (-1)
#define DAX_StatusUnknownError (-2)
#define DAX_StatusInternalError (-3)
#define DAX_StatusOutOfMemory (-4)
#define DAX_StatusBadArgument (-5)
#define DAX_StatusUnsupported (-6)
#define DAX_StatusNoConvergence (-7)
#define DAX_StatusAutotrace (-8)

/* Error modes. */

#define DAX_ErrModeLeaf 0
#define DAX_ErrModeParent 1
#define DAX_ErrModeSilent 2

/* Depths of a sample. */

#define DAX_DEPTH_SIGN (-0x7FFFFFFF - 1)
#define DAX_DEPTH_MASK 0x7FFFFFFF
#define DAX_DEPTH_1U 1
#define DAX_DEPTH_8U 8
#define DAX_DEPTH_8S (DAX_DEPTH_SIGN + 8)
#define DAX_DEPTH_16U 16
#define DAX_DEPTH_16S (DAX_DEPTH_SIGN + 16)
#define DAX_DEPTH_32S (DAX_DEPTH_SIGN + 32)

/* Data order and origin. */

#define DAX_DATA_PIXEL 0
#define DAX_DATA_PLANE 1

#define DAX_ORIGIN_TOP_LEFT 0
#define DAX_ORIGIN_BOTTOM_LEFT 1

/* fillValue of daxAllocateImage. */

#define DAX_FILL_NONE (-1)

/* Flags of daxDeallocate. */

#define DAX_IMAGE_HEADER 1
#define DAX_IMAGE_DATA 2
#define DAX_IMAGE_ROI 4
#define DAX_IMAGE_TILE 8
#define DAX_IMAGE_MASK 16
#define DAX_IMAGE_ALL 31

/* Bits of daxBadImageHeader. */

#define DAX_BAD_NULL 0x0001
#define DAX_BAD_DATA 0x0002
#define DAX_BAD_SIZE 0x0004
#define DAX_BAD_ROI_OFFSET 0x0008
#define DAX_BAD_WIDTH_STEP 0x0010
#define DAX_BAD_CHANNELS 0x0020
#define DAX_BAD_BITONAL_CHANNELS 0x0040
#define DAX_BAD_DEPTH 0x0080
#define DAX_BAD_ALPHA_CHANNEL 0x0100
#define DAX_BAD_DATA_ORDER 0x0200
#define DAX_BAD_ORIGIN 0x0400
#define DAX_BAD_ALIGN 0x0800
#define DAX_BAD_TILE_CALLBACK 0x1000
#define DAX_BAD_TILE_SIZE 0x2000
#define DAX_BAD_COI 0x4000
#define DAX_BAD_ROI_SIZE 0x8000

/* Requests to a tile access function. */

#define DAX_TILE_READ 1
#define DAX_TILE_WRITE 2
#define DAX_TILE_RELEASE 4

/* Sides and border modes. */

#define DAX_SIDE_TOP 1
#define DAX_SIDE_BOTTOM 2
#define DAX_SIDE_LEFT 4
#define DAX_SIDE_RIGHT 8
#define DAX_SIDE_ALL 15

#define DAX_BORDER_CONST 0
#define DAX_BORDER_REPLICATE 1
#define DAX_BORDER_REFLECT 2
#define DAX_BORDER_WRAP 3

/* ConvertMode of daxConvert. */

#define DAX_CONVERT_LOW_BITS 0
#define DAX_CONVERT_HIGH_BITS 1

/* paletteConversion of daxConvertToDIB. */

#define DAX_PALETTE_KEEP 0
#define DAX_PALETTE_FIXED 1
#define DAX_PALETTE_MEDIAN_CUT 2

/* combineMethod of daxConvolve2D. */

#define DAX_COMBINE_SUM 0
#define DAX_COMBINE_SUM_SQUARES 1
#define DAX_COMBINE_ROOT_SUM_SQUARES 2
#define DAX_COMBINE_MAX 3
#define DAX_COMBINE_MIN 4

/* interpolate of daxZoom, daxDecimate and daxRotate. */

#define DAX_INTER_NN 0
#define DAX_INTER_LINEAR 1
#define DAX_INTER_CUBIC 2

/* flipAxis of daxMirror. */

#define DAX_FLIP_ROWS 0
#define DAX_FLIP_COLUMNS 1
#define DAX_FLIP_BOTH (-1)

/* Flags of daxRealFft2D and daxCcsFft2D. */

#define DAX_FFT_FORWARD 1
#define DAX_FFT_INVERSE 2
#define DAX_FFT_NOSCALE 4
#define DAX_FFT_ALPHA 8
#define DAX_FFT_USEINT 16
#define DAX_FFT_USEFLOAT 32
#define DAX_FFT_REPEAT 64
#define DAX_FFT_FREE 128
#define DAX_FFT_KEEP 256

/* Flags of daxDCT2D. */

#define DAX_DCT_FORWARD 1
#define DAX_DCT_INVERSE 2
#define DAX_DCT_ALPHA 4
#define DAX_DCT_FREE 8

/* Dither options. */

#define DAX_DITHER_NONE 1
#define DAX_DITHER_FS 2
#define DAX_DITHER_JJN 4
#define DAX_DITHER_STUCKI 8
#define DAX_DITHER_BAYER 16

/* compositeType of the alpha composition. */

#define DAX_COMPOSITE_OVER 0
#define DAX_COMPOSITE_IN 1
#define DAX_COMPOSITE_OUT 2
#define DAX_COMPOSITE_ATOP 3
#define DAX_COMPOSITE_XOR 4
#define DAX_COMPOSITE_PLUS 5

/* normType of daxNorm. */

#define DAX_NORM_MAX 1
#define DAX_NORM_SUM 2
#define DAX_NORM_L2 4
#define DAX_NORM_RELATIVE 8
#define DAX_NORM_MAX_REL 9
#define DAX_NORM_SUM_REL 10
#define DAX_NORM_L2_REL 12

/* Records. */

typedef struct DaxROI DaxROI;
typedef struct DaxTileInfo DaxTileInfo;
typedef struct DaxImage DaxImage;
typedef struct DaxMapping DaxMapping;
typedef struct DaxConvKernel DaxConvKernel;
typedef struct DaxColorTwist DaxColorTwist;
typedef struct DaxLUT DaxLUT;
typedef struct DaxContext DaxContext;
typedef struct DaxLibVersion DaxLibVersion;

typedef void (*DaxTileCallBack)(DaxImage* image, int32_t col, int32_t row, int32_t mode);

typedef DaxStatus (*DaxErrorReporter)(DaxStatus status, const char* funcName, const char* context,
                                      const char* file, int32_t line);

struct DaxROI {
    int32_t coi;
    int32_t xOffset;
    int32_t yOffset;
    int32_t height;
    int32_t width;
};

struct DaxTileInfo {
    DaxTileCallBack callBack;
    uint32_t tileId;
    void* tileData;
    int32_t width;
    int32_t height;
};

struct DaxImage {
    int32_t headerSize;
    int32_t headerVersion;
    int32_t nChannels;
    int32_t alphaChannel;
    int32_t depth;
    char colorModel[4];
    char channelSeq[4];
    int32_t dataOrder;
    int32_t origin;
    int32_t align;
    int32_t height;
    int32_t width;
    DaxROI* roi;
    DaxImage* maskImage;
    uint32_t imageTag;
    DaxTileInfo* tileInfo;
    int32_t dataSize;
    void* imageData;
    int32_t widthStep;
    int32_t borderModes[4];
    int32_t borderConsts[4];
    void* allocBlock;
};

struct DaxMapping {
    int32_t xDst;
    int32_t yDst;
};

struct DaxConvKernel {
    int32_t nRows;
    int32_t nCols;
    int32_t anchorX;
    int32_t anchorY;
    int32_t nShiftR;
    int8_t* values;
};

struct DaxColorTwist {
    int32_t data[16];
    int32_t scalingValue;
};

struct DaxLUT {
    int32_t num;
    int32_t* key;
    int32_t* value;
    int32_t* factor;
    int32_t interpolated;
};

struct DaxContext {
    DaxStatus status;
    int32_t errMode;
    DaxErrorReporter reporter;
    uint8_t reserved[1560];
    char unknownCodeText[80];
};

struct DaxLibVersion {
    int32_t major;
    int32_t minor;
    int32_t build;
    const char* moduleName;
    const char* versionText;
    const char* versionStamp;
    const char* buildDate;
    const char* moduleKind;
};

#ifndef DAX_HAVE_BITMAPINFOHEADER
#define DAX_HAVE_BITMAPINFOHEADER
typedef struct tagBITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
} BITMAPINFOHEADER;
#endif
#ifndef BI_RGB
#define BI_RGB 0
#endif
#ifndef BI_BITFIELDS
#define BI_BITFIELDS 3
#endif

/* Context, errors, version. */

DAX_API DaxStatus daxGetErrStatus(void);
DAX_API void daxSetErrStatus(DaxStatus status);
DAX_API int32_t daxGetErrMode(void);
DAX_API void daxSetErrMode(int32_t mode);
DAX_API DaxErrorReporter daxRedirectError(DaxErrorReporter reporter);
DAX_API DaxStatus daxError(DaxStatus status, const char* funcName, const char* context, const char* file,
                           int32_t line);
DAX_API const char* daxErrorStr(DaxStatus status);
DAX_API DaxStatus daxNulDevReport(DaxStatus status, const char* funcName, const char* context,
                                  const char* file, int32_t line);
DAX_API DaxStatus daxStdErrReport(DaxStatus status, const char* funcName, const char* context,
                                  const char* file, int32_t line);
DAX_API DaxStatus daxGuiBoxReport(DaxStatus status, const char* funcName, const char* context,
                                  const char* file, int32_t line);
DAX_API DaxContext* daxUndContext(void);
DAX_API const DaxLibVersion* daxGetLibVersion(void);

/* Memory and records. */

DAX_API void* daxMalloc(int32_t size);
DAX_API void* daxwMalloc(int32_t count);
DAX_API void* daxiMalloc(int32_t count);
DAX_API void* daxsMalloc(int32_t count);
DAX_API void* daxdMalloc(int32_t count);
DAX_API void daxFree(void* p);
DAX_API DaxImage* daxCreateImageHeader(int32_t nChannels, int32_t alphaChannel, int32_t depth,
                                       const char* colorModel, const char* channelSeq, int32_t dataOrder,
                                       int32_t origin, int32_t align, int32_t height, int32_t width,
                                       DaxROI* roi, uint32_t imageTag, DaxTileInfo* tileInfo);
DAX_API void daxAllocateImage(DaxImage* image, int32_t fillValue);
DAX_API void daxDeallocateImage(DaxImage* image);
DAX_API void daxDeallocate(DaxImage* image, int32_t flags);
DAX_API void daxDeallocateHeader(DaxImage* image);
DAX_API DaxROI* daxCreateROI(int32_t coi, int32_t xOffset, int32_t yOffset, int32_t height, int32_t width);
DAX_API void daxSetROI(DaxROI* roi, int32_t coi, int32_t xOffset, int32_t yOffset, int32_t height,
                       int32_t width);
DAX_API void daxDeleteROI(DaxROI* roi);
DAX_API DaxTileInfo* daxCreateTileInfo(DaxTileCallBack callBack, uint32_t tileId, int32_t width,
                                       int32_t height);
DAX_API void daxSetTileInfo(DaxTileInfo* tileInfo, DaxTileCallBack callBack, uint32_t tileId, int32_t width,
                            int32_t height);
DAX_API void daxDeleteTileInfo(DaxTileInfo* tileInfo);
DAX_API int32_t daxBadImageHeader(DaxImage* image);
DAX_API void daxSetBorderMode(DaxImage* image, int32_t mode, int32_t border, int32_t constVal);

/* Arithmetic and logic. */

DAX_API void daxAdd(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxSubtract(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage, int32_t reverse,
                         const int32_t* tilePos);
DAX_API void daxMultiply(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                         const int32_t* tilePos);
DAX_API void daxAddS(DaxImage* srcImage, DaxImage* dstImage, int32_t value, const int32_t* tilePos);
DAX_API void daxSubtractS(DaxImage* srcImage, DaxImage* dstImage, int32_t value, int32_t reverse,
                          const int32_t* tilePos);
DAX_API void daxMultiplyS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value, const int32_t* tilePos);
DAX_API void daxSquare(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxAbs(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxAnd(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxOr(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxXor(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxAndS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value, const int32_t* tilePos);
DAX_API void daxOrS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value, const int32_t* tilePos);
DAX_API void daxXorS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value, const int32_t* tilePos);
DAX_API void daxNot(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxLShiftS(DaxImage* srcImage, DaxImage* dstImage, uint32_t nShift, const int32_t* tilePos);
DAX_API void daxRShiftS(DaxImage* srcImage, DaxImage* dstImage, uint32_t nShift, const int32_t* tilePos);

/* Movement and conversion. */

DAX_API void daxCopy(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxSet(DaxImage* dstImage, int32_t fillValue, const int32_t* tilePos);
DAX_API void daxExchange(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxConvert(DaxImage* srcImage, DaxImage* dstImage, int32_t ConvertMode, const int32_t* tilePos);
DAX_API void daxBitonalToGray(DaxImage* srcImage, DaxImage* dstImage, int32_t ZeroScale, int32_t OneScale,
                              const int32_t* tilePos);
DAX_API DaxImage* daxTranslateDIB(BITMAPINFOHEADER* dib, int32_t* cloneData);
DAX_API void daxConvertFromDIB(const BITMAPINFOHEADER* dib, DaxImage* image);
DAX_API void daxConvertToDIB(DaxImage* image, BITMAPINFOHEADER* dib, int32_t dither,
                             int32_t paletteConversion);

/* Filters. */

DAX_API DaxConvKernel* daxCreateConvKernel(int32_t nRows, int32_t nCols, int32_t anchorX, int32_t anchorY,
                                           const int8_t* values, int32_t nShiftR);
DAX_API void daxGetConvKernel(const DaxConvKernel* kernel, int32_t* nRows, int32_t* nCols, int32_t* anchorX,
                              int32_t* anchorY, int8_t* const* values, int32_t* nShiftR);
DAX_API void daxDeleteConvKernel(DaxConvKernel* kernel);
DAX_API void daxConvolve2D(DaxImage* srcImage, DaxImage* dstImage, DaxConvKernel* const* kernel,
                           int32_t nKernels, int32_t combineMethod, const DaxMapping* mapping);
DAX_API void daxConvolveSep2D(DaxImage* srcImage, DaxImage* dstImage, const DaxConvKernel* Xkernel,
                              const DaxConvKernel* Ykernel);
DAX_API void daxBlur(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols, int32_t anchorX,
                     int32_t anchorY, const DaxMapping* mapping);
DAX_API void daxMaxFilter(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                          int32_t anchorX, int32_t anchorY, const DaxMapping* mapping);
DAX_API void daxMinFilter(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                          int32_t anchorX, int32_t anchorY, const DaxMapping* mapping);
DAX_API void daxMedianFilter(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                             int32_t anchorX, int32_t anchorY, const DaxMapping* mapping);
DAX_API void daxErode(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations, const DaxMapping* mapping);
DAX_API void daxDilate(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations,
                       const DaxMapping* mapping);
DAX_API void daxOpen(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations, const DaxMapping* mapping);
DAX_API void daxClose(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations, const DaxMapping* mapping);

/* Geometry. */

DAX_API void daxZoom(DaxImage* srcImage, DaxImage* dstImage, int32_t xU, int32_t xL, int32_t yU, int32_t yL,
                     int32_t interpolate, const int32_t* tilePos);
DAX_API void daxDecimate(DaxImage* srcImage, DaxImage* dstImage, int32_t xU, int32_t xL, int32_t yU,
                         int32_t yL, int32_t interpolate, const int32_t* tilePos);
DAX_API void daxMirror(DaxImage* srcImage, DaxImage* dstImage, int32_t flipAxis, const int32_t* tilePos);
DAX_API void daxRotate(DaxImage* srcImage, DaxImage* dstImage, int32_t angle, int32_t xCenter,
                       int32_t yCenter, int32_t interpolate, const int32_t* tilePos);

/* Transforms. */

DAX_API void daxRealFft2D(DaxImage* srcImage, DaxImage* dstImage, int32_t flags, const void* map);
DAX_API void daxCcsFft2D(DaxImage* srcImage, DaxImage* dstImage, int32_t flags, const void* map);
DAX_API void daxDCT2D(DaxImage* src, DaxImage* dst, int32_t flags);

/* Colour. */

DAX_API void daxRGB2HSV(DaxImage* rgbImage, DaxImage* hsvImage, const int32_t* tilePos);
DAX_API void daxHSV2RGB(DaxImage* hsvImage, DaxImage* rgbImage, const int32_t* tilePos);
DAX_API void daxRGB2HLS(DaxImage* rgbImage, DaxImage* hlsImage, const int32_t* tilePos);
DAX_API void daxHLS2RGB(DaxImage* hlsImage, DaxImage* rgbImage, const int32_t* tilePos);
DAX_API void daxColorToGray(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);
DAX_API void daxGrayToColor(DaxImage* srcImage, DaxImage* dstImage, float fractR, float fractG, float fractB,
                            const int32_t* tilePos);
DAX_API void daxReduceBits(DaxImage* srcImage, DaxImage* dstImage, int32_t jitterType, int32_t ditherOption,
                           int32_t levelBits, const int32_t* tilePos);
DAX_API DaxColorTwist* daxCreateColorTwist(const int32_t* data, int32_t scalingValue);
DAX_API void daxSetColorTwist(DaxColorTwist* cTwist, const int32_t* data, int32_t scalingValue);
DAX_API void daxDeleteColorTwist(DaxColorTwist* cTwist);
DAX_API void daxApplyColorTwist(DaxImage* srcImage, DaxImage* dstImage, const DaxColorTwist* cTwist,
                                int32_t offset, const DaxMapping* mapping);

/* Compositing. */

DAX_API void daxAlphaComposite(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                               int32_t compositeType, DaxImage* alphaImageA, DaxImage* alphaImageB,
                               DaxImage* alphaImageDst, int32_t premulAlpha, int32_t divideMode,
                               const int32_t* tilePos);
DAX_API void daxAlphaCompositeC(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                                int32_t compositeType, int32_t alphaA, int32_t alphaB, int32_t premulAlpha,
                                int32_t divideMode, const int32_t* tilePos);
DAX_API void daxPreMultiplyAlpha(DaxImage* image, int32_t alpha, const int32_t* tilePos);
DAX_API void daxMultiplyScale(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                              const int32_t* tilePos);
DAX_API void daxMultiplySScale(DaxImage* srcImage, DaxImage* dstImage, int32_t value, const int32_t* tilePos);

/* Tone and statistics. */

DAX_API void daxComputeHisto(DaxImage* srcImage, DaxLUT* const* lut, const int32_t* tilePos);
DAX_API void daxContrastStretch(DaxImage* srcImage, DaxImage* dstImage, DaxLUT* const* lut,
                                const int32_t* tilePos);
DAX_API void daxHistoEqualize(DaxImage* srcImage, DaxImage* dstImage, DaxLUT* const* lut,
                              const int32_t* tilePos);
DAX_API void daxThreshold(DaxImage* srcImage, DaxImage* dstImage, int32_t threshold, const int32_t* tilePos);
DAX_API double daxNorm(DaxImage* srcImageA, DaxImage* srcImageB, int32_t normType);

#ifdef __cplusplus
}
#endif

#endif
