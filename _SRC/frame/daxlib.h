/**
 * @file daxlib.h
 * The public interface of daxlib, a library of integer image primitives.
 *
 * The comments of this file are the reference manual. What holds for many functions is told once,
 * on these pages, and cited by its name:
 *
 * - @ref dax_start - a whole small program, and the conventions of the interface
 * - @ref dax_images - how pixels lie in memory
 * - @ref dax_regions - which pixels and channels an operation works on
 * - @ref dax_checks - the common argument checks, their order and their texts
 * - @ref dax_tiles - images that arrive tile by tile
 * - @ref dax_borders - what lies beyond the edge of an image
 * - @ref dax_threads - what may run at the same time
 */
#ifndef DAXLIB_H
#define DAXLIB_H

#include <stddef.h>
#include <stdint.h>

/* A program that has BITMAPINFOHEADER from elsewhere defines DAX_HAVE_BITMAPINFOHEADER first. */
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
#ifndef NOGDI
#define DAX_HAVE_BITMAPINFOHEADER
#endif
#endif

/**
 * Marks an exported function. A program that links the static library defines DAX_STATIC;
 * DAX_BUILDING is defined only while the library itself is compiled.
 */
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

/**
 * @page dax_start Getting started
 *
 * A program describes each image with a header record, gives it pixels, and calls an operation:
 *
 * @code{.c}
 * #include "daxlib.h"
 *
 * int main(void)
 * {
 *     daxRedirectError(daxStdErrReport);    // failures are told on standard error,
 *     daxSetErrMode(DAX_ErrModeParent);     // and the program goes on
 *
 *     DaxImage* a = daxCreateImageHeader(1, 0, DAX_DEPTH_8U, "GRAY", "GRAY", DAX_DATA_PIXEL,
 *                                        DAX_ORIGIN_TOP_LEFT, 8, 480, 640, NULL, 0, NULL);
 *     DaxImage* b = daxCreateImageHeader(1, 0, DAX_DEPTH_8U, "GRAY", "GRAY", DAX_DATA_PIXEL,
 *                                        DAX_ORIGIN_TOP_LEFT, 8, 480, 640, NULL, 0, NULL);
 *     if (a == NULL || b == NULL)
 *         return 1;
 *     daxAllocateImage(a, 200);             // every sample 200
 *     daxAllocateImage(b, 100);
 *
 *     daxAdd(a, b, b, NULL);                // b = a + b, held at 255
 *
 *     int failed = daxGetErrStatus() != DAX_StatusNoError;
 *     daxDeallocate(a, DAX_IMAGE_DATA | DAX_IMAGE_HEADER);
 *     daxDeallocate(b, DAX_IMAGE_DATA | DAX_IMAGE_HEADER);
 *     return failed;
 * }
 * @endcode
 *
 * @section dax_start_conventions Conventions
 *
 * - Height comes before width in argument lists and in the records #DaxImage and #DaxROI; in
 *   #DaxTileInfo width comes first. Neighbourhood sizes are given rows first (`nRows`, `nCols`),
 *   then `anchorX`, `anchorY`.
 * - Channels, `coi` and `alphaChannel` count from 1; 0 means all channels, or none in particular.
 * - The operations return nothing. A failure is reported through daxError(), which keeps the
 *   status for daxGetErrStatus() and calls the thread's reporter. The functions that make records
 *   return null when they fail; most of them report nothing.
 * - Results are defined to the last bit and don't depend on the processor. "Held" or "clamped"
 *   says that the exact mathematical result is limited to the range of the depth; "wraps" says
 *   that its low bits are stored; "truncated" means cut towards zero.
 * - Where this manual quotes the text of a report in code type, it stands exactly as reported.
 *   Under "Reports", the names are those given to daxError(): the function, then the module.
 * - What is listed under "Silent" ends a call, or a part of it, without any report.
 *
 * @section dax_start_owners Who owns what
 *
 * Every record that crosses the interface belongs to the caller. Headers, ROIs, tile descriptors
 * and pixel blocks are separate allocations from the plain heap; the library frees none of them on
 * its own and shares none of them behind the caller's back. They go back through daxDeallocate()
 * and the `daxDelete...` functions, never through daxFree(), which takes only what daxMalloc() and
 * its siblings gave. Memory of tiles is the application's.
 *
 * An operation may rewrite `roi`, `tileInfo` or `origin` of a header that it is given for the
 * length of the call, and a tile access function that looks at the header then sees the rewritten
 * fields. They are put back before the call ends, with the exceptions that are told at daxCopy(),
 * daxExchange(), daxZoom() and the curve operations.
 *
 * @section dax_start_inplace Working in place
 *
 * An operation works in place, with one image as source and destination and the same rectangle and
 * channels in both, where its description or its group says so. Overlap of any other kind between
 * a destination and a source isn't supported.
 */

/**
 * @page dax_images How pixels lie in memory
 *
 * An image holds its pixels in exactly one of two ways: `imageData` points at one block and
 * `tileInfo` is null, or `imageData` is null and `tileInfo` describes tiles that are fetched from
 * the application (@ref dax_tiles).
 *
 * @section dax_images_depth Depths
 *
 * | Constant        | Sample           | Bits | Range                     |
 * |-----------------|------------------|------|---------------------------|
 * | #DAX_DEPTH_1U   | bitonal          | 1    | 0 to 1                    |
 * | #DAX_DEPTH_8U   | unsigned, 8-bit  | 8    | 0 to 255                  |
 * | #DAX_DEPTH_8S   | signed, 8-bit    | 8    | -128 to 127               |
 * | #DAX_DEPTH_16U  | unsigned, 16-bit | 16   | 0 to 65535                |
 * | #DAX_DEPTH_16S  | signed, 16-bit   | 16   | -32768 to 32767           |
 * | #DAX_DEPTH_32S  | signed, 32-bit   | 32   | -2147483648 to 2147483647 |
 *
 * There is no unsigned 32-bit depth and no floating-point depth. A depth is the number of bits of
 * a sample plus #DAX_DEPTH_SIGN for signed samples, so `depth & DAX_DEPTH_MASK` is the number of
 * bits. Samples of more than one byte are little-endian. Pixels of #DAX_DEPTH_1U lie eight to a
 * byte, the first in the most significant bit, and such an image has exactly one channel.
 * `imageData` that the caller supplies may have any address.
 *
 * @section dax_images_rows Rows and planes
 *
 * With b the bits of a sample, a row holds `width * nChannels * b` bits in pixel order
 * (#DAX_DATA_PIXEL) and `width * b` bits in plane order (#DAX_DATA_PLANE). Rounded up to a
 * multiple of `align` bytes that is the row step, `widthStep`. In pixel order the channels of a
 * pixel are neighbours. In plane order each channel is a whole plane of `height` rows, and the
 * planes follow one another in channel order, `widthStep * height` bytes apart. `dataSize` is
 * `widthStep * height` in pixel order and that times `nChannels` in plane order.
 *
 * Three channels of 8 bits and a width of 5, with `align` 4: in pixel order `widthStep` is 16, in
 * plane order it is 8.
 *
 * daxCreateImageHeader() and daxAllocateImage() derive both fields. A caller who sets `imageData`
 * himself should keep to the rule, since some operations read `widthStep` and others derive the
 * row step anew:
 *
 * - `widthStep` as it stands: daxAbs(), the logic and left shift operations on bytes and wider
 *   samples, daxConvert(), daxBitonalToGray(), daxZoom(), daxDecimate(), daxMirror(), the Fourier
 *   transforms, daxApplyColorTwist();
 * - derived anew: daxCopy(), daxSet(), daxExchange(), daxRotate(), the histogram and curve
 *   operations, the DIB operations, the alpha family;
 * - both, the derived one for the place of the first sample and `widthStep` from row to row: the
 *   other arithmetic and daxRShiftS(), daxThreshold().
 *
 * @section dax_images_origin Origin
 *
 * Row 0 always lies at `imageData`. `origin` says whether the viewer sees that row at the top
 * (#DAX_ORIGIN_TOP_LEFT) or at the bottom (#DAX_ORIGIN_BOTTOM_LEFT). Only the operations that say
 * so look at it; some of them demand that source and destination agree.
 */

/**
 * @page dax_regions Regions and channels
 *
 * @section dax_regions_rect The common rectangle
 *
 * Without `roi` the region of an image is the whole image. With `roi` it is the ROI, cut at the
 * right and lower edge of the image. Sizes never have to agree unless an operation says so: the
 * work covers the smallest height and the smallest width of the regions, and each image is read
 * or written from the top left corner of its own region. What the common rectangle leaves out of a
 * destination stays as it was. A ROI that starts beyond its image gives an empty region, and
 * nothing is done; that isn't an error, except in the alpha family.
 *
 * @section dax_regions_channels The channels
 *
 * A `roi` with a non-zero `coi` selects that one channel; without `roi`, or with `coi` 0, all
 * channels are selected. The *working channel count* of an image, which many operations require
 * to be equal, is 1 with a non-zero `coi` and `nChannels` otherwise. `alphaChannel` is treated
 * like any other channel unless an operation says so.
 *
 * @section dax_regions_layouts Layouts that arithmetic walks
 *
 * The arithmetic operations (but for daxAbs()), daxAnd(), daxOr(), daxXor() and daxRShiftS() work
 * on these combinations, where "selected" means a `roi` with a non-zero `coi` in every image:
 *
 * - all images in pixel order, each with all its channels;
 * - all images in pixel order, each with a channel selected: sample by sample, each image at its
 *   own channel and with its own `nChannels`;
 * - all images in plane order, each with all its channels: plane by plane;
 * - all images in plane order, each with a channel selected: the selected plane of each.
 *
 * An image of one channel with a `coi` of 1 counts as either. Anything else passes the checks and
 * does nothing, without a report: a destination of three channels with one selected and a
 * one-channel source without `roi`, for instance.
 *
 * @section dax_regions_flat Whole images
 *
 * When all the images have equal `height`, `width` and `dataSize`, and each `roi` is null or
 * covers its whole image with all channels, these operations, and the logic operations with a
 * constant, run over the data in one flat run. Row padding takes part in this run, and it is the
 * only case in which a destination is written outside the pixels of its rectangle.
 *
 * A *run* is the stretch of samples that the inner loop is given at once: the whole data in the
 * case above; all rows of a region, or of a plane of it, when the rows follow each other without
 * padding in every image; otherwise one row of the region. Some results differ between the body
 * of a run and its two ends: the samples ahead of the first destination address that is a multiple
 * of 8, and those behind the last whole block that is counted from there. Where that is so it is
 * told, with the size of the block. When a channel is selected in pixel order, samples are taken
 * one by one, and there are no runs.
 *
 * @section dax_regions_abs Layouts of daxAbs() and of the constant logic
 *
 * daxAbs(), daxAndS(), daxOrS(), daxXorS(), daxNot() and daxLShiftS() let the *source* decide, on
 * bytes and wider samples: without a selected channel in the source all its channels are worked,
 * and the destination's `coi` isn't looked at; with one, each image is worked at its own `coi`. So
 * give the destination a `roi` with a `coi` whenever the source has one, also when the destination
 * has a single channel: the place of its samples is taken from its `coi`.
 *
 * @section dax_regions_bits Bitonal images
 *
 * Bits of a destination byte that lie outside the rectangle are kept, except in flat runs over
 * whole images. The two-image operations, the arithmetic with constants and daxRShiftS() compare
 * the ROI's size with the image's size and don't cut it at the right and lower edge, so a ROI on a
 * bitonal image has to lie inside it.
 */

/**
 * @page dax_checks Argument checks and their reports
 *
 * All reports of rejected arguments come before the first pixel is written, with status
 * #DAX_StatusBadArgument, the exported function's name, the failed condition or a message as
 * `context`, the module's name as `file`, and the line of the check. Unless told otherwise the
 * first failure ends the call. What follows are the lists that several operations share.
 *
 * @section dax_checks_header Bad headers
 *
 * A header is judged by daxBadImageHeader(). The text of the report has one line for each fault,
 * in the order of this table. Each line is padded with blanks to 70 characters and ends in a
 * newline.
 *
 * | Bit     | Line                                                                    |
 * |---------|-------------------------------------------------------------------------|
 * | 0x0001  | `Image header is null`                                                  |
 * | 0x0002  | `Image data and tileinfo is either null or not null`                    |
 * | 0x0004  | `Image size is invalid`                                                 |
 * | 0x0010  | `Image widthStep is invalid`                                            |
 * | 0x0020  | `Image channel's number is less one`                                    |
 * | 0x0040  | `For image depth 1U channel's number is not equal one`                  |
 * | 0x0080  | `Image depth is invalid`                                                |
 * | 0x0100  | `Image alpha channel's number is less zero or is more channel's number` |
 * | 0x0200  | `Image data order is invalid`                                           |
 * | 0x0400  | `Image origin is invalid`                                               |
 * | 0x0800  | `Image align is invalid`                                                |
 * | 0x1000  | `Callback is null`                                                      |
 * | 0x2000  | `Tile size is invalid`                                                  |
 * | 0x4000  | `COI is less zero or is more image channel's number`                    |
 * | 0x8000  | `ROI size is invalid`                                                   |
 * | 0x0008  | `ROI offset is invalid`                                                 |
 *
 * When memory for the text can't be had, the text is `Out of memory`. With several images the
 * first bad one, in the order of the function's parameters, ends the call, so a call makes one
 * such report at most. "The headers" in the descriptions of the operations means this check of
 * every image argument.
 *
 * @section dax_checks_two Checks of two sources and a destination
 *
 * 1. The headers of `srcImageA`, `srcImageB`, `dstImage`.
 * 2. `(srcImageA->depth != dstImage->depth)`
 * 3. `(srcImageB->depth != dstImage->depth)`
 * 4. `(srcImageA->dataOrder != dstImage->dataOrder)`
 * 5. `(srcImageB->dataOrder != dstImage->dataOrder)`
 * 6. `(nChSrcA != nChDst)`, the working channel counts
 * 7. `(nChSrcB != nChDst)`
 *
 * Sizes and `origin` are not compared.
 *
 * @section dax_checks_one Checks of one source and a destination
 *
 * 1. The headers of `srcImage`, `dstImage`.
 * 2. `(srcImage->depth != dstImage->depth)`
 * 3. `(srcImage->dataOrder != dstImage->dataOrder)`
 * 4. `(nChSrc != nChDst)`, the working channel counts
 *
 * Sizes and `origin` are not compared.
 *
 * @section dax_checks_copy Checks of the copying family
 *
 * After the headers, all three are tested, so up to three reports can be made:
 *
 * 1. `srcImage->depth != dstImage->depth`
 * 2. `srcImage->dataOrder != dstImage->dataOrder`
 * 3. `srcImage->origin != dstImage->origin`
 *
 * Then the thread's status is read; see below. Sizes and channels are not compared.
 *
 * @section dax_checks_status Operations that read the status
 *
 * Where a description says that "the status is read", the operation returns at once, and without
 * a further report, if daxGetErrStatus() is negative. No operation but those of the morphology
 * clears the status, so a failure of any earlier call, which the program has not cleared with
 * daxSetErrStatus(), makes these operations do nothing although their arguments are in order.
 *
 * @section dax_checks_full Full check of an image in the alpha family
 *
 * For the argument `image`; for another argument its name stands in the texts in place of `image`.
 * The first condition that holds is reported.
 *
 * 1. `image==0`
 * 2. `daxBadImageHeader(image) != 0`
 * 3. `image->width <= 0`, `image->height <= 0`, `image->nChannels <= 0`
 * 4. With a ROI: `image->roi->width <= 0`, `image->roi->height <= 0`, `image->roi->xOffset < 0`,
 *    `image->roi->yOffset < 0`, `image->roi->xOffset >= image->width`,
 *    `image->roi->yOffset >= image->height`, `image->roi->coi < 0`,
 *    `image->roi->coi > image->nChannels`
 * 5. `image->imageData != ((void*)(0)) && image->tileInfo != ((void*)(0))`
 * 6. `image->imageData == ((void*)(0)) && image->tileInfo == ((void*)(0))`
 * 7. With tiles: `image->tileInfo->callBack==0`, `image->tileInfo->width <= 0`,
 *    `image->tileInfo->height <= 0`
 *
 * Most of these can't be seen, since daxBadImageHeader() finds the same faults first; the two
 * tests of the ROI's offset against the image's size add to it.
 */

/**
 * @page dax_tiles Tiled images
 *
 * An image with `tileInfo` has no block of pixels. The library asks for its tiles, one after the
 * other, through the `callBack` of its #DaxTileInfo, on the thread of the call.
 *
 * @section dax_tiles_access The tile access function
 *
 * `callBack(image, col, row, mode)` gets the image header and the tile's indices. Tile (col, row)
 * covers the columns from `col * tileInfo->width` and the rows from `row * tileInfo->height`.
 *
 * | `mode`              | Meaning                            | It must leave in `tileData` |
 * |---------------------|------------------------------------|-----------------------------|
 * | #DAX_TILE_READ      | the tile is wanted for reading     | a pointer to its pixels     |
 * | #DAX_TILE_WRITE     | the tile is wanted for writing     | a pointer to its pixels     |
 * | #DAX_TILE_RELEASE   | the tile is released               | null                        |
 *
 * `tileData` is the function's only means of answering: null after a request says that the tile
 * can't be had. The buffer is laid out like a plain image of the tile's width and height with the
 * image's depth, channels, `dataOrder` and `align`; in plane order its planes are its own row step
 * times the tile's height apart. Tiles at the right and lower edge have the full size in the
 * library's view, so every buffer must be that large. A tile that is wanted for writing has to
 * hold its present pixels: often only a part of it is written, and the rest is kept as delivered.
 *
 * `widthStep` and `dataSize` of a tiled header aren't read. For a picture whose sizes don't fit
 * 32 bits there, make a header of the size of a tile and set `height` and `width` afterwards.
 *
 * A `DaxTileInfo` serves one operation at a time. At most one tile of an image is held at any
 * moment, except where an operation says otherwise. The same tile may be requested and released
 * many times in a call.
 *
 * @section dax_tiles_walk The standard walk
 *
 * The arithmetic and logic operations and daxThreshold() cut the common rectangle into pieces that
 * each lie in one tile of every tiled image, and work them in bands from top to bottom, each band
 * from left to right. Images of different tile sizes, and plain images, may be mixed. The result
 * equals that of plain images, but for two things: the shorter runs of the pieces move the ends of
 * runs (@ref dax_regions_flat), and row padding inside of tiles may be written.
 *
 * Failures have status #DAX_StatusBadArgument and the operation's names. The texts name the
 * argument concerned, here `srcImage`:
 *
 * - no tile after a request: `(srcImage->tileInfo->tileData == ((void*)(0)))`
 * - a tile still there after a release: `(srcImage->tileInfo->tileData != ((void*)(0)))`
 *
 * In every operation a tile failure ends the call at once; what has been written stays written,
 * and the tiles that are held then are not released, unless told otherwise.
 *
 * Walks of other kinds report their failures as their operations say; a walk that must gather a
 * rectangle from several tiles of a source requests each of them for reading and releases it.
 *
 * @section dax_tiles_pos The argument tilePos
 *
 * `tilePos` is null, or points at two numbers that narrow the work on a tiled destination to one
 * of its tiles. Null is the usual choice. The argument is ignored when the destination has no
 * `tileInfo`. What the numbers mean depends on the operation, and each names one of these:
 *
 * @subsection dax_tilepos_walk Tile index, standard walk
 * A tile column and a tile row of the destination. A tile that misses the destination's region is
 * reported as a bad argument with one of `(dTile.begX > dRoi.endX)`, `(dTile.begY > dRoi.endY)`,
 * `(dTile.endX < dRoi.begX)`, `(dTile.endY < dRoi.begY)`, tested in this order. The tests are
 * strict: a tile that merely touches the region from outside passes, and the call does no work.
 *
 * @subsection dax_tilepos_copy Tile index, copying family
 * A tile column and a tile row of the destination; a tile outside the region returns silently.
 * Otherwise the walk begins at the column `tilePos[0] - c` and the row `tilePos[0] - r` of the
 * region's tiles, with (c, r) the region's first tile, and ends behind column 0 and row 0. The
 * start row comes from the first number as well. So only a `tilePos` that names the first tile
 * column of the region does any work, and what it does is exactly the region's first tile only if
 * that tile lies on the diagonal (c equal to r); with c above r it is nothing, and with c below r
 * it isn't to be relied on. To work on one tile, give the destination a ROI that covers it and pass
 * null.
 *
 * @subsection dax_tilepos_index Tile index
 * A tile column and a tile row of the destination.
 *
 * @subsection dax_tilepos_pixel Pixel position
 * An x and a y in the destination; the tile that holds this pixel is worked.
 *
 * The filters and daxApplyColorTwist() take a #DaxMapping instead, which is a pixel position, too.
 */

/**
 * @page dax_borders Beyond the edge of an image
 *
 * Operations on neighbourhoods never shrink the region that they write. What they read beyond the
 * edge of the source image comes from the border settings in its header: a mode and a constant for
 * each of the four sides, set with daxSetBorderMode(). A new header has #DAX_BORDER_CONST with 0
 * on all sides. Pixels outside a ROI but inside the image are read as they are.
 *
 * | Mode                   | Value of a sample outside the image                             |
 * |------------------------|-----------------------------------------------------------------|
 * | #DAX_BORDER_CONST      | the side's constant, one number for all channels                |
 * | #DAX_BORDER_REPLICATE  | the nearest sample of the edge                                  |
 * | #DAX_BORDER_REFLECT    | the mirror image with the edge repeated: row -1 reads row 0     |
 * | #DAX_BORDER_WRAP       | the image repeated: row -1 reads the last row                   |
 *
 * A point above the image follows the top side and a point below it the bottom side, whether it
 * lies left or right of the image or not. So the corners belong to top and bottom, and the mode is
 * applied there to both coordinates; the left and right sides apply only beside the image's rows.
 *
 * #DAX_BORDER_REFLECT and #DAX_BORDER_WRAP make one reflection or one shift: a neighbourhood
 * should not reach further outside than the image is high or wide.
 */

/**
 * @page dax_threads Threads
 *
 * Error status, error mode and reporter belong to the calling thread, and so do the plans, tables
 * and work buffers that the transforms keep between calls. The library holds
 * no locks and starts no threads. Any operations may run at the same time on different images.
 *
 * Two threads may read the same pixels at the same time, but they should do so through headers of
 * their own: an operation may rewrite fields of a header for the length of a call, and a
 * #DaxTileInfo serves one operation at a time. The noise of daxReduceBits() is drawn from the C
 * library's `rand()`, which the whole process shares.
 */

/**
 * @defgroup dax_context Context, errors, version
 * What failed, and who is told.
 *
 * Each thread has a context of its own: the last status, the error mode and the reporter. A new
 * thread starts with status #DAX_StatusNoError, mode #DAX_ErrModeLeaf and reporter
 * daxGuiBoxReport(), whatever other threads have set. It gets its context when it attaches; on
 * systems whose loader doesn't tell of threads, at its first call. On Windows a thread that was
 * running before the library was loaded, and isn't the one that loaded it, has no context: its
 * first call here says so in a message box and ends the process.
 *
 * An operation that fails calls daxError() and returns. The status is sticky: success doesn't
 * clear it, so a program that looks at it clears it first with daxSetErrStatus(), and some
 * operations do nothing while it is negative (@ref dax_checks_status).
 *
 * An operation that is built on another one and finds the status negative afterwards may add a
 * report of its own with #DAX_StatusBacktrace, which leaves the status as it is. The reporters
 * show it as a "called from" line.
 * @{
 */

/** The outcome of a call: 0 for no error, below 0 for an error. */
typedef int32_t DaxStatus;

/** @name Status values
 * The texts are those of daxErrorStr().
 * @{
 */
#define DAX_StatusNoError 0          /**< `No Error` */
#define DAX_StatusBacktrace (-1)     /**< `Backtrace`: trace line of an outer function; not kept */
#define DAX_StatusUnknownError (-2)  /**< `Unknown error`; used when a tile can't be had */
#define DAX_StatusInternalError (-3) /**< `Internal error (bad state)` */
#define DAX_StatusOutOfMemory (-4)   /**< `Out of memory` */
#define DAX_StatusBadArgument (-5)   /**< `Bad argument` */
#define DAX_StatusUnsupported (-6)   /**< `Unsupported function`; for applications */
#define DAX_StatusNoConvergence (-7) /**< `Iteration convergence failed`; for applications */
#define DAX_StatusAutotrace (-8)     /**< `Autotrace call`; for applications; not kept */
/** @} */

/** @name Error modes
 * What a reporter of the library does; see daxSetErrMode().
 * @{
 */
#define DAX_ErrModeLeaf 0   /**< handled where it occurs: terminate, or offer to */
#define DAX_ErrModeParent 1 /**< the caller handles it: report and let the operation return */
#define DAX_ErrModeSilent 2 /**< print nothing, return the status */
/** @} */

/**
 * A function that daxError() calls for every status but 0.
 *
 * @param status   what happened
 * @param funcName the function that reports; may be null
 * @param context  the failed condition or a message; the operations always pass a text
 * @param file     the module that reports; may be null
 * @param line     the line of the check
 * @return what daxError() is to return; by custom `status`
 */
typedef DaxStatus (*DaxErrorReporter)(DaxStatus status, const char* funcName, const char* context,
                                      const char* file, int32_t line);

/** A thread's state, handed out by daxUndContext(). */
typedef struct DaxContext {
    DaxStatus status;          /**< the last status that was kept; starts at 0 */
    int32_t errMode;           /**< the error mode; starts at #DAX_ErrModeLeaf */
    DaxErrorReporter reporter; /**< the reporter; starts at daxGuiBoxReport() */
    uint8_t reserved[1560];    /**< zero at the start; the library neither reads nor writes it */
    char unknownCodeText[80];  /**< where daxErrorStr() forms its text for unknown codes */
} DaxContext;

/** The library's version. */
typedef struct DaxLibVersion {
    int32_t major;            /**< 1 */
    int32_t minor;            /**< 3 */
    int32_t build;            /**< 3 */
    const char* moduleName;   /**< `daxlib.dll` */
    const char* versionText;  /**< `v1.0 Beta 3` */
    const char* versionStamp; /**< `[1.03.03, 06/30/97]` */
    const char* buildDate;    /**< `Jul  7 1997` */
    const char* moduleKind;   /**< `DLL` */
} DaxLibVersion;

/** The calling thread's status. @return the status that was kept last */
DAX_API DaxStatus daxGetErrStatus(void);

/**
 * Sets the calling thread's status without a report. Call it with #DAX_StatusNoError before an
 * operation whose outcome you want to know.
 * @param status any value; it isn't checked
 */
DAX_API void daxSetErrStatus(DaxStatus status);

/** The calling thread's error mode. @return #DAX_ErrModeLeaf or what daxSetErrMode() stored */
DAX_API int32_t daxGetErrMode(void);

/**
 * Sets the calling thread's error mode. Any value is kept; one that isn't a known mode makes
 * daxStdErrReport() print and go on, and daxGuiBoxReport() show nothing and go on.
 * @param mode #DAX_ErrModeLeaf, #DAX_ErrModeParent or #DAX_ErrModeSilent
 */
DAX_API void daxSetErrMode(int32_t mode);

/**
 * Installs a reporter for the calling thread.
 * @param reporter the function to call from now on; null stands for daxGuiBoxReport()
 * @return the reporter that was installed before
 */
DAX_API DaxErrorReporter daxRedirectError(DaxErrorReporter reporter);

/**
 * Reports a status. All failures of the library pass through here, and applications may use it
 * for their own.
 *
 * 1. A status other than #DAX_StatusBacktrace and #DAX_StatusAutotrace is kept; 0 thus clears the
 *    thread's status.
 * 2. For 0, return 0; no reporter runs.
 * 3. Otherwise call the thread's reporter with the same arguments and return its result.
 *
 * @param status   what happened
 * @param funcName the function that reports
 * @param context  the failed condition or a message; not null with daxGuiBoxReport()
 * @param file     the module that reports
 * @param line     the line of the check
 * @return the reporter's result, or 0
 */
DAX_API DaxStatus daxError(DaxStatus status, const char* funcName, const char* context,
                           const char* file, int32_t line);

/**
 * The text of a status. For a value outside of -8 to 0 it is `Unknown error code N` below 0 and
 * `Unknown status code N` above, formed in a buffer of the calling thread, which the next such
 * call of this thread overwrites.
 * @param status any value
 * @return the text; never null
 */
DAX_API const char* daxErrorStr(DaxStatus status);

/**
 * A reporter that prints nothing. In mode #DAX_ErrModeLeaf it ends the process with exit code 1.
 * @param status   returned, if the function returns
 * @param funcName not used
 * @param context  not used
 * @param file     not used
 * @param line     not used
 * @return `status`
 */
DAX_API DaxStatus daxNulDevReport(DaxStatus status, const char* funcName, const char* context,
                                  const char* file, int32_t line);

/**
 * A reporter that writes to the standard error stream. A bad argument of daxAdd() gives, after an
 * empty line,
 *
 *     DAX Library Error: Bad argument
 *             in function [daxadd:27]:daxAdd(): (srcImageA->depth != dstImage->depth)
 *
 * with one blank at the end of the first line and a tab at the start of the second.
 * #DAX_StatusBacktrace and #DAX_StatusAutotrace have a tab and `called from` in place of all that
 * precedes the location; for the latter the context follows the name in parentheses, without
 * `():`. The location is left out when `line` is 0 or below and `file` is null, and the context
 * when it is null. A null name is shown as `<unknown>`.
 *
 * In mode #DAX_ErrModeSilent nothing is written. In mode #DAX_ErrModeLeaf the lines
 * `DAX Library Error`, `ErrMode=DAX_ErrModeLeaf`, `terminating the application` follow, the last
 * without a newline, and the process ends with exit code 1. In any other mode it goes on.
 *
 * @param status   what happened; returned, if the function returns
 * @param funcName the function that reports; may be null
 * @param context  the failed condition or a message; may be null
 * @param file     the module that reports; may be null
 * @param line     the line of the check
 * @return `status`
 */
DAX_API DaxStatus daxStdErrReport(DaxStatus status, const char* funcName, const char* context,
                                  const char* file, int32_t line);

/**
 * The reporter that every thread starts with: a system-modal message box. The caption is
 * `DAX Library Error: ` and the text of the thread's *kept* status, so a trace line shows the
 * first failure there. The body is
 *
 * - for #DAX_StatusBacktrace: `called from [file:line]:name():`, a newline, the context;
 * - for #DAX_StatusAutotrace: `called from [file:line]:`, a newline, `name(context)`;
 * - otherwise: `in function [file:line]:name():`, a newline, the context.
 *
 * In mode #DAX_ErrModeParent it goes on with `ErrMode=DAX_ErrorModeParent` and `Continue?`, with
 * the buttons OK and Cancel, and Cancel ends the process. In mode #DAX_ErrModeLeaf it goes on with
 * `ErrMode=DAX_ErrorModeLeaf` and `Terminate the application?`, with the buttons Yes and No, and
 * Yes ends the process. In any other mode no box is shown.
 *
 * On systems without a message box, caption and text go to standard error. If standard input and
 * standard error are a terminal the question is asked there; otherwise the answer is the one that
 * lets the program go on. A process that ends here does so with the text `DAX Library:` and, on a
 * second line, `terminating the application`, and with exit code 1.
 *
 * Beyond the context, a message has room for 200 characters; longer ones are cut.
 *
 * @param status   what happened; returned, if the function returns
 * @param funcName the function that reports; null is shown as `<unknown>`
 * @param context  the failed condition or a message; must not be null
 * @param file     the module that reports; null is shown as an empty text
 * @param line     the line of the check; a negative number is shown as 0
 * @return `status`
 */
DAX_API DaxStatus daxGuiBoxReport(DaxStatus status, const char* funcName, const char* context,
                                  const char* file, int32_t line);

/** The calling thread's context, whole. @return the record itself, not a copy */
DAX_API DaxContext* daxUndContext(void);

/** The library's version. Needs no context and can't fail. @return a constant record */
DAX_API const DaxLibVersion* daxGetLibVersion(void);

/** @} */

/**
 * @defgroup dax_records Memory and records
 * Headers, regions, tile descriptors, pixel blocks and aligned memory.
 *
 * None of these functions reports anything. They return null, do nothing, or return a mask. How
 * the fields belong together is told in @ref dax_images.
 * @{
 */

/** @name Depths
 * @{
 */
#define DAX_DEPTH_SIGN (-0x7FFFFFFF - 1)    /**< the bit that marks signed depths, 0x80000000 */
#define DAX_DEPTH_MASK 0x7FFFFFFF           /**< the bits of a depth that count bits */
#define DAX_DEPTH_1U 1                      /**< bitonal */
#define DAX_DEPTH_8U 8                      /**< unsigned, 8-bit */
#define DAX_DEPTH_8S (DAX_DEPTH_SIGN + 8)   /**< signed, 8-bit */
#define DAX_DEPTH_16U 16                    /**< unsigned, 16-bit */
#define DAX_DEPTH_16S (DAX_DEPTH_SIGN + 16) /**< signed, 16-bit */
#define DAX_DEPTH_32S (DAX_DEPTH_SIGN + 32) /**< signed, 32-bit */
/** @} */

/** @name Data order and origin
 * @{
 */
#define DAX_DATA_PIXEL 0         /**< the channels of a pixel are neighbours */
#define DAX_DATA_PLANE 1         /**< each channel is a plane of its own */
#define DAX_ORIGIN_TOP_LEFT 0    /**< row 0 is the picture's top */
#define DAX_ORIGIN_BOTTOM_LEFT 1 /**< row 0 is the picture's bottom */
/** @} */

/** A region of interest; see @ref dax_regions. Several images may share one. */
typedef struct DaxROI {
    int32_t coi;     /**< channel of interest, from 1; 0 means all channels */
    int32_t xOffset; /**< first column */
    int32_t yOffset; /**< first row */
    int32_t height;  /**< number of rows */
    int32_t width;   /**< number of columns */
} DaxROI;

typedef struct DaxImage DaxImage;

/**
 * The application's tile access function; see @ref dax_tiles_access. It answers through `tileData`
 * of the image's #DaxTileInfo.
 * @param image the image whose tile is meant; an operation may have rewritten its `roi`
 * @param col   the tile's column, from 0
 * @param row   the tile's row, from 0
 * @param mode  #DAX_TILE_READ, #DAX_TILE_WRITE or #DAX_TILE_RELEASE
 */
typedef void (*DaxTileCallBack)(DaxImage* image, int32_t col, int32_t row, int32_t mode);

/** @name Requests to a tile access function
 * @{
 */
#define DAX_TILE_READ 1    /**< the tile is wanted for reading */
#define DAX_TILE_WRITE 2   /**< the tile is wanted for writing, its present pixels included */
#define DAX_TILE_RELEASE 4 /**< the tile is released */
/** @} */

/** A tile descriptor; see @ref dax_tiles. Note that `width` comes before `height` here. */
typedef struct DaxTileInfo {
    DaxTileCallBack callBack; /**< the tile access function */
    uint32_t tileId;          /**< the application's own word, never read by the library */
    void* tileData;           /**< set by `callBack`: the tile that is held now, or null */
    int32_t width;            /**< tile width in pixels, a multiple of 8 */
    int32_t height;           /**< tile height in pixels, a multiple of 8 */
} DaxTileInfo;

/** An image header. Make it with daxCreateImageHeader(). */
struct DaxImage {
    int32_t headerSize;      /**< the size of this record */
    int32_t headerVersion;   /**< 0 */
    int32_t nChannels;       /**< number of channels, at least 1; exactly 1 for #DAX_DEPTH_1U */
    int32_t alphaChannel;    /**< number of the alpha channel, 0 for none */
    int32_t depth;           /**< one of the depth constants */
    char colorModel[4];      /**< the colour model, four characters without a terminating zero */
    char channelSeq[4];      /**< the channels' letters in memory order, such as `BGRA` */
    int32_t dataOrder;       /**< #DAX_DATA_PIXEL or #DAX_DATA_PLANE */
    int32_t origin;          /**< #DAX_ORIGIN_TOP_LEFT or #DAX_ORIGIN_BOTTOM_LEFT */
    int32_t align;           /**< alignment of rows in bytes, 4 or 8 */
    int32_t height;          /**< number of rows */
    int32_t width;           /**< number of pixels in a row */
    DaxROI* roi;             /**< the region of interest, or null for the whole image */
    DaxImage* maskImage;     /**< an attached mask image, or null; no operation reads it */
    uint32_t imageTag;       /**< the caller's own word, passed on to derived headers */
    DaxTileInfo* tileInfo;   /**< the tile descriptor, or null for data in one block */
    int32_t dataSize;        /**< size of the pixel data in bytes */
    void* imageData;         /**< the first byte of row 0, or null for tiles */
    int32_t widthStep;       /**< distance between the starts of two rows in bytes */
    int32_t borderModes[4];  /**< border modes: top, bottom, left, right; daxSetBorderMode() */
    int32_t borderConsts[4]; /**< border constants, in the same order */
    void* allocBlock;        /**< the block of daxAllocateImage(), or null */
};

/** @name Borders
 * Sides, as bits for daxSetBorderMode(), and modes; see @ref dax_borders.
 * @{
 */
#define DAX_SIDE_TOP 1         /**< rows above row 0; index 0 in the header */
#define DAX_SIDE_BOTTOM 2      /**< rows from `height` on; index 1 */
#define DAX_SIDE_LEFT 4        /**< columns before column 0; index 2 */
#define DAX_SIDE_RIGHT 8       /**< columns from `width` on; index 3 */
#define DAX_SIDE_ALL 15        /**< all four sides */
#define DAX_BORDER_CONST 0     /**< the side's constant */
#define DAX_BORDER_REPLICATE 1 /**< the nearest sample of the edge */
#define DAX_BORDER_REFLECT 2   /**< the mirror image, the edge repeated */
#define DAX_BORDER_WRAP 3      /**< the image repeated */
/** @} */

/** @name What daxDeallocate() frees
 * @{
 */
#define DAX_IMAGE_HEADER 1 /**< the header itself */
#define DAX_IMAGE_DATA 2   /**< the pixel block that daxAllocateImage() made */
#define DAX_IMAGE_ROI 4    /**< the region of interest */
#define DAX_IMAGE_TILE 8   /**< the tile descriptor */
#define DAX_IMAGE_MASK 16  /**< the mask image, with its data, region and tile descriptor */
#define DAX_IMAGE_ALL 31   /**< everything */
/** @} */

/** daxAllocateImage() leaves the memory unfilled. */
#define DAX_FILL_NONE (-1)

/** @name Faults of a header
 * The bits of daxBadImageHeader().
 * @{
 */
#define DAX_BAD_NULL 0x0001             /**< the header is null; nothing else is tested */
#define DAX_BAD_DATA 0x0002             /**< `imageData` and `tileInfo` both null or both set */
#define DAX_BAD_SIZE 0x0004             /**< `height`, `width` or, without tiles, `dataSize` <= 0 */
#define DAX_BAD_ROI_OFFSET 0x0008       /**< a ROI offset is negative */
#define DAX_BAD_WIDTH_STEP 0x0010       /**< without tiles, `widthStep` is 0 or below */
#define DAX_BAD_CHANNELS 0x0020         /**< `nChannels` is below 1 */
#define DAX_BAD_BITONAL_CHANNELS 0x0040 /**< #DAX_DEPTH_1U with `nChannels` other than 1 */
#define DAX_BAD_DEPTH 0x0080            /**< `depth` is none of the six */
#define DAX_BAD_ALPHA_CHANNEL 0x0100    /**< `alphaChannel` is negative or above `nChannels` */
#define DAX_BAD_DATA_ORDER 0x0200       /**< `dataOrder` is neither 0 nor 1 */
#define DAX_BAD_ORIGIN 0x0400           /**< `origin` is neither 0 nor 1 */
#define DAX_BAD_ALIGN 0x0800            /**< `align` is neither 4 nor 8 */
#define DAX_BAD_TILE_CALLBACK 0x1000    /**< the tile descriptor's `callBack` is null */
#define DAX_BAD_TILE_SIZE 0x2000        /**< a tile size is 0 or below, or no multiple of 8 */
#define DAX_BAD_COI 0x4000              /**< the ROI's `coi` is negative or above `nChannels` */
#define DAX_BAD_ROI_SIZE 0x8000         /**< the ROI's `height` or `width` is 0 or below */
/** @} */

/**
 * Allocates bytes, aligned to 8. The memory isn't cleared. The word just ahead of the result
 * belongs to the library.
 * @param size number of bytes; 0 gives a valid pointer
 * @return the memory, for daxFree(); null for a negative size and when out of memory
 */
DAX_API void* daxMalloc(int32_t size);

/** As daxMalloc(), for 16-bit words. @param count number of words @return the memory or null */
DAX_API void* daxwMalloc(int32_t count);

/** As daxMalloc(), for 32-bit integers. @param count how many @return the memory or null */
DAX_API void* daxiMalloc(int32_t count);

/** As daxMalloc(), for 32-bit floats. @param count how many @return the memory or null */
DAX_API void* daxsMalloc(int32_t count);

/** As daxMalloc(), for 64-bit floats. @param count how many @return the memory or null */
DAX_API void* daxdMalloc(int32_t count);

/** Frees what daxMalloc() and its four siblings gave. @param p the memory; null is ignored */
DAX_API void daxFree(void* p);

/**
 * Makes an image header, without pixels. `widthStep` and `dataSize` are derived
 * (@ref dax_images_rows); `maskImage`, `imageData` and `allocBlock` are null; all borders are
 * #DAX_BORDER_CONST with 0. Give it pixels with daxAllocateImage(), by setting `imageData`, or
 * through `tileInfo`.
 *
 * @param nChannels    number of channels, at least 1
 * @param alphaChannel number of the alpha channel, from 1, or 0; not above `nChannels`
 * @param depth        one of the six depth constants
 * @param colorModel   the colour model, such as "GRAY", "RGB", "RGBA", "HSV", "HLS"; exactly four
 *                     bytes are copied, so the text needs three characters at least
 * @param channelSeq   the channels' letters in memory order, such as "GRAY", "BGR", "RGBA"; read
 *                     like `colorModel`
 * @param dataOrder    #DAX_DATA_PIXEL or #DAX_DATA_PLANE
 * @param origin       #DAX_ORIGIN_TOP_LEFT or #DAX_ORIGIN_BOTTOM_LEFT
 * @param align        alignment of rows in bytes, 4 or 8
 * @param height       number of rows; 0 is accepted here and refused by every operation
 * @param width        number of pixels in a row; as `height`
 * @param roi          the region of interest, kept by reference, or null
 * @param imageTag     the caller's own word
 * @param tileInfo     the tile descriptor, kept by reference, or null
 * @return the header; null when out of memory, for a null text, for a value outside of the
 *         ranges above, and when `widthStep` or `dataSize` doesn't fit 32 bits, tiles or not. That
 *         a bitonal image has one channel is not tested here.
 */
DAX_API DaxImage* daxCreateImageHeader(int32_t nChannels, int32_t alphaChannel, int32_t depth,
                                       const char* colorModel, const char* channelSeq,
                                       int32_t dataOrder, int32_t origin, int32_t align,
                                       int32_t height, int32_t width, DaxROI* roi,
                                       uint32_t imageTag, DaxTileInfo* tileInfo);

/**
 * Gives a header a block of pixels. `widthStep` and `dataSize` are derived anew from the other
 * fields; `imageData` is aligned to `align`. A block that the header holds already is not freed,
 * so free it first.
 *
 * The block is filled with one value, row padding included: for bitonal images with the lowest
 * bit of `fillValue`, for 8 and 16 bits with its low 8 or 16 bits, for 32 bits with the whole.
 *
 * There is no report: test `imageData`. When the memory can't be had `allocBlock` becomes null and
 * the other fields stay. When the header's fields are out of range, or give a `widthStep` or
 * `dataSize` that doesn't fit 32 bits, `imageData` becomes null and `dataSize` 0. A null `image` is
 * ignored.
 *
 * @param image     the header
 * @param fillValue the value, or #DAX_FILL_NONE (-1) to leave the memory as the heap gave it. To
 *                  fill 8-bit samples with -1 pass 255.
 */
DAX_API void daxAllocateImage(DaxImage* image, int32_t fillValue);

/**
 * Frees the pixel block of daxAllocateImage() and sets `imageData` and `allocBlock` to null; an
 * `imageData` of the caller's own is merely forgotten. Does nothing when the header's fields are
 * out of range.
 * @param image the header; not null
 */
DAX_API void daxDeallocateImage(DaxImage* image);

/**
 * Frees parts of an image, in this order: region, mask, tile descriptor, data, header. The fields
 * of what is freed become null. #DAX_IMAGE_MASK frees the mask's header, data, region and tile
 * descriptor, but not the mask's own mask. #DAX_IMAGE_DATA does nothing when the caller set
 * `imageData` himself (`allocBlock` is null).
 * @param image the header; null is ignored
 * @param flags a sum of the `DAX_IMAGE_...` values
 */
DAX_API void daxDeallocate(DaxImage* image, int32_t flags);

/** Frees a header and nothing else. @param image the header; null is ignored */
DAX_API void daxDeallocateHeader(DaxImage* image);

/**
 * Makes a region of interest. No value is checked; daxBadImageHeader() finds bad ones.
 * @param coi     channel of interest, from 1, or 0 for all
 * @param xOffset first column
 * @param yOffset first row
 * @param height  number of rows
 * @param width   number of columns
 * @return the region; null when out of memory
 */
DAX_API DaxROI* daxCreateROI(int32_t coi, int32_t xOffset, int32_t yOffset, int32_t height,
                             int32_t width);

/**
 * Refills a region of interest. No value is checked.
 * @param roi     the region; null is ignored
 * @param coi     channel of interest, from 1, or 0 for all
 * @param xOffset first column
 * @param yOffset first row
 * @param height  number of rows
 * @param width   number of columns
 */
DAX_API void daxSetROI(DaxROI* roi, int32_t coi, int32_t xOffset, int32_t yOffset, int32_t height,
                       int32_t width);

/** Frees a region of interest. @param roi the region; null is ignored */
DAX_API void daxDeleteROI(DaxROI* roi);

/**
 * Makes a tile descriptor. No value is checked; daxBadImageHeader() finds bad ones.
 * @param callBack the tile access function
 * @param tileId   the application's own word
 * @param width    tile width in pixels, a multiple of 8; note that it comes first
 * @param height   tile height in pixels, a multiple of 8
 * @return the descriptor; null when out of memory
 */
DAX_API DaxTileInfo* daxCreateTileInfo(DaxTileCallBack callBack, uint32_t tileId, int32_t width,
                                       int32_t height);

/**
 * Refills a tile descriptor and sets `tileData` to null. No value is checked.
 * @param tileInfo the descriptor; null is ignored
 * @param callBack the tile access function
 * @param tileId   the application's own word
 * @param width    tile width in pixels
 * @param height   tile height in pixels
 */
DAX_API void daxSetTileInfo(DaxTileInfo* tileInfo, DaxTileCallBack callBack, uint32_t tileId,
                            int32_t width, int32_t height);

/** Frees a tile descriptor. @param tileInfo the descriptor; null is ignored */
DAX_API void daxDeleteTileInfo(DaxTileInfo* tileInfo);

/**
 * Judges a header. It is tested against itself and nothing else: `widthStep` need not agree with
 * `width`, nor `dataSize` with the rest, and a region that lies outside the image passes.
 * @param image the header; may be null
 * @return a sum of the `DAX_BAD_...` values, 0 for a sound header
 */
DAX_API int32_t daxBadImageHeader(DaxImage* image);

/**
 * Sets the border mode and constant of some sides of an image; see @ref dax_borders. No value is
 * checked. For 8 and 16-bit samples the low bits of the constant count, for bitonal images its
 * lowest bit.
 * @param image    the header; not null
 * @param mode     one of the `DAX_BORDER_...` values
 * @param border   a sum of the `DAX_SIDE_...` values; other bits are ignored
 * @param constVal the constant for #DAX_BORDER_CONST
 */
DAX_API void daxSetBorderMode(DaxImage* image, int32_t mode, int32_t border, int32_t constVal);

/** @} */

/**
 * @defgroup dax_arith Arithmetic and logic
 * Operations sample by sample, on two images or on an image and a constant.
 *
 * All functions of this group work on the six depths, on plain and tiled images, and in place.
 * Arithmetic is clamped: the exact result is limited to the range of the depth. Logic and shifts
 * drop what doesn't fit. Which rectangle and channels are worked is told in @ref dax_regions,
 * which layouts in @ref dax_regions_layouts and @ref dax_regions_abs, and what happens to row
 * padding in @ref dax_regions_flat. `tilePos` is a @ref dax_tilepos_walk "tile index of the
 * standard walk" and tiles are walked and reported as @ref dax_tiles_walk says; where a function
 * hands its work to another one, that function's description applies.
 *
 * @par A limit of the two-image functions
 * Tiles are walked only if `srcImageA` or `dstImage` is tiled. A call in which `srcImageB` alone
 * has tiles reads through its null `imageData`. Don't make one.
 *
 * @par Silent
 * Regions that don't meet their image, and combinations of layouts that aren't worked.
 * @{
 */

/**
 * Sum: dst = A + B, clamped. On #DAX_DEPTH_1U: A OR B.
 *
 * @par Reports
 * `daxAdd`, `daxadd`: @ref dax_checks_two.
 *
 * @param srcImageA the first source
 * @param srcImageB the second source
 * @param dstImage  the destination
 * @param tilePos   @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxAdd(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                    const int32_t* tilePos);

/**
 * Difference: dst = A - B, clamped; with `reverse`, dst = B - A. Unsigned results don't go below 0.
 * On #DAX_DEPTH_1U: A AND NOT B; with `reverse`, B AND NOT A.
 *
 * @par Reports
 * `daxSubtract`, `daxsub`: @ref dax_checks_two.
 *
 * @param srcImageA the first source
 * @param srcImageB the second source
 * @param dstImage  the destination
 * @param reverse   0 for A - B, anything else for B - A
 * @param tilePos   @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxSubtract(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                         int32_t reverse, const int32_t* tilePos);

/**
 * Product: dst = A times B, clamped. On #DAX_DEPTH_1U: A AND B.
 *
 * @par The ends of a run
 * On #DAX_DEPTH_16U the products at both ends of a run (@ref dax_regions_flat; the block is 4
 * samples, and a run shorter than that is all ends) are compared with 65535 as signed 32-bit
 * numbers. A product of 2147483648 or more counts as negative there, and its low 16 bits are
 * stored: 65535 times 65535 gives 65535 in the body of a run and 1 at its ends. Samples of a
 * selected channel in pixel order are always clamped correctly. For a scaled product, in which
 * 65535 stands for 1, there is daxMultiplyScale().
 *
 * @par Reports
 * `daxMultiply`, `daxmul`: @ref dax_checks_two.
 *
 * @param srcImageA the first source
 * @param srcImageB the second source
 * @param dstImage  the destination
 * @param tilePos   @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxMultiply(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                         const int32_t* tilePos);

/**
 * Sum with a constant: dst = A + `value`, clamped. On #DAX_DEPTH_1U: A OR the lowest bit of
 * `value`.
 *
 * @par Values beyond the depth
 * Samples of a selected channel in pixel order take the whole of `value`; in runs
 * (@ref dax_regions_flat) it is different:
 * - #DAX_DEPTH_8U takes the low 16 bits of `value` as a signed number, and a sum of 16 bits wraps
 *   before it is clamped. All forms agree for values from -32768 to 32512.
 * - #DAX_DEPTH_16U takes the low 16 bits of the magnitude of `value` in the body of a run (blocks
 * of 16 samples), and the whole at its ends. All forms agree for values from -65535 to 65535.
 *
 * The signed depths clamp correctly for any value.
 *
 * @par Reports
 * `daxAddS`, `daxadds`: @ref dax_checks_one.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param value    the constant
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxAddS(DaxImage* srcImage, DaxImage* dstImage, int32_t value, const int32_t* tilePos);

/**
 * Difference with a constant: dst = A - `value`, clamped; with `reverse`, dst = `value` - A. On
 * #DAX_DEPTH_1U, with c the lowest bit of `value`: A AND NOT c; with `reverse`, c AND NOT A, so
 * that 1 and `reverse` invert the image.
 *
 * @par Values beyond the depth
 * As told at daxAddS(). All forms agree on #DAX_DEPTH_8U for values from -32512 to 32767, and on
 * #DAX_DEPTH_16U from -65535 to 65535. The signed depths clamp correctly for any value.
 *
 * @par Reports
 * `daxSubtractS`, `daxsubs`: @ref dax_checks_one.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param value    the constant
 * @param reverse  0 for A - `value`, anything else for `value` - A
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxSubtractS(DaxImage* srcImage, DaxImage* dstImage, int32_t value, int32_t reverse,
                          const int32_t* tilePos);

/**
 * Product with a constant: dst = A times `value`, clamped. On #DAX_DEPTH_1U: A AND the lowest bit
 * of `value`. The constant is unsigned in the signed depths, too: a value with the top bit set is
 * a large positive factor.
 *
 * @par Values beyond the depth, and the ends of a run
 * Keep `value` within the range of the samples. Exactly:
 * - #DAX_DEPTH_8U: the body of a run (@ref dax_regions_flat; blocks of 16 samples) uses the low 8
 *   bits of `value`. The ends use its low 16 bits in a signed product of 16 bits, in which a
 *   negative product gives 0 and one of 255 or more gives 255; from 129 to 255, products above
 *   32767 come out as 0 there. Samples of a selected channel in pixel order use the low 32 bits of
 *   the product. From 0 to 128 all three agree.
 * - #DAX_DEPTH_16U: the body of a run (blocks of 4 samples) uses the low 16 bits of `value`. The
 *   ends use the low 32 bits of the product, and store its low 16 bits if it is 2147483648 or more,
 *   as in daxMultiply().
 *
 * The signed depths clamp correctly for any value.
 *
 * @par Reports
 * `daxMultiplyS`, `daxmuls`: @ref dax_checks_one.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param value    the constant
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxMultiplyS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value,
                          const int32_t* tilePos);

/**
 * Square: dst = A times A, clamped. On #DAX_DEPTH_1U a copy. On #DAX_DEPTH_16U the ends of a run
 * store the low 16 bits of a square of 2147483648 or more (samples from 46341 on), as in
 * daxMultiply().
 *
 * @par Reports
 * `daxSquare`, `daxsqr`: @ref dax_checks_one.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxSquare(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);

/**
 * Absolute value: dst = |A|, *not* clamped: the most negative value of the depth stays as it is.
 * Images of an unsigned depth, #DAX_DEPTH_1U included, are handed to daxCopy(), with all that is
 * told there, after the checks below. Which channels are worked: @ref dax_regions_abs. Row padding
 * is never written.
 *
 * @par Reports
 * `daxAbs`, `daxabs`: @ref dax_checks_one. Then, for unsigned depths, those of daxCopy().
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null; for an unsigned depth as in
 *                 daxCopy()
 */
DAX_API void daxAbs(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);

/**
 * Bitwise and: dst = A AND B.
 *
 * @par Reports
 * `daxAnd`, `daxand`: @ref dax_checks_two.
 *
 * @param srcImageA the first source
 * @param srcImageB the second source
 * @param dstImage  the destination
 * @param tilePos   @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxAnd(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                    const int32_t* tilePos);

/**
 * Bitwise or: dst = A OR B.
 *
 * @par Reports
 * `daxOr`, `daxor`: @ref dax_checks_two.
 *
 * @param srcImageA the first source
 * @param srcImageB the second source
 * @param dstImage  the destination
 * @param tilePos   @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxOr(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                   const int32_t* tilePos);

/**
 * Bitwise exclusive or: dst = A XOR B.
 *
 * @par Reports
 * `daxXor`, `daxxor`: @ref dax_checks_two.
 *
 * @param srcImageA the first source
 * @param srcImageB the second source
 * @param dstImage  the destination
 * @param tilePos   @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxXor(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                    const int32_t* tilePos);

/**
 * Bitwise and with a constant: dst = A AND `value`. Of `value` the low bits count, as many as a
 * sample has. Which channels are worked: @ref dax_regions_abs.
 *
 * @par Reports
 * `daxAndS`, `daxands`: @ref dax_checks_one.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param value    the constant
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxAndS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value,
                     const int32_t* tilePos);

/**
 * Bitwise or with a constant: dst = A OR `value`. Of `value` the low bits count, as many as a
 * sample has. Which channels are worked: @ref dax_regions_abs.
 *
 * @par Reports
 * `daxOrS`, `daxors`: @ref dax_checks_one.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param value    the constant
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxOrS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value, const int32_t* tilePos);

/**
 * Bitwise exclusive or with a constant: dst = A XOR `value`. Of `value` the low bits count, as
 * many as a sample has. Which channels are worked: @ref dax_regions_abs.
 *
 * @par Reports
 * `daxXorS`, `daxxors`: @ref dax_checks_one.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param value    the constant
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxXorS(DaxImage* srcImage, DaxImage* dstImage, uint32_t value,
                     const int32_t* tilePos);

/**
 * Bitwise complement: `daxXorS(srcImage, dstImage, 0xFFFFFFFF, tilePos)` and nothing else, so its
 * reports carry the names of daxXorS().
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxNot(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);

/**
 * Left shift: the bits of each sample move up by `nShift`. Upper bits fall off, nothing is
 * clamped, and the sign of a signed sample can change. Which channels are worked:
 * @ref dax_regions_abs. Row padding is never written.
 *
 * After the checks, an `nShift` of the depth's number of bits or more is handed to daxAndS() with
 * a `value` of 0, which gives zeroes; an `nShift` of 0 on #DAX_DEPTH_1U is handed to daxCopy(),
 * with all that is told there.
 *
 * @par Reports
 * `daxLShiftS`, `daxlshs`: @ref dax_checks_one. Then those of daxAndS() or daxCopy().
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param nShift   by how many bits
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxLShiftS(DaxImage* srcImage, DaxImage* dstImage, uint32_t nShift,
                        const int32_t* tilePos);

/**
 * Right shift: logical on unsigned depths, arithmetic on signed ones (rounding towards minus
 * infinity). On #DAX_DEPTH_1U a copy for an `nShift` of 0 and zeroes for any other.
 *
 * `nShift` is not tested against the depth; keep it below the depth's number of bits. Beyond that
 * range single samples are shifted by `nShift` modulo 32. In the body of a run
 * (@ref dax_regions_flat; blocks of 16 samples on both depths, and runs shorter than that are all
 * ends) of #DAX_DEPTH_8U and #DAX_DEPTH_16U, 16 and more give 0. On #DAX_DEPTH_8S and
 * #DAX_DEPTH_16S the sample is extended to 32 bits and shifted in zeroes, so above 24 and 16 bits
 * the result is no longer an arithmetic shift.
 *
 * @par Reports
 * `daxRShiftS`, `daxshfts`: @ref dax_checks_one. The texts of tile failures are spelled
 * `(srcImage->tileInfo->tileData == ((void *)0))`, `(dstImage->tileInfo->tileData == ((void *)0))`,
 * `(srcImage->tileInfo->tileData != ((void *)0))`, `(dstImage->tileInfo->tileData != ((void *)0))`.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param nShift   by how many bits
 * @param tilePos  @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxRShiftS(DaxImage* srcImage, DaxImage* dstImage, uint32_t nShift,
                        const int32_t* tilePos);

/** @} */

/**
 * @defgroup dax_move Movement and conversion
 * Moving pixels between images, depths and device-independent bitmaps.
 *
 * The bitmap functions exchange images with the device-independent bitmap of Windows in memory: a
 * #BITMAPINFOHEADER, the colour table or bit-field masks, and the rows of pixels, one behind the
 * other. No files are read or written. What is used of the header:
 *
 * - `biSize` must be 40 and `biPlanes` 1; `biCompression` is #BI_RGB or #BI_BITFIELDS;
 * - a positive `biHeight` means rows from bottom to top, a negative one from top to bottom;
 * - the colour table lies at `dib` + `biSize`, four bytes an entry: blue, green, red, reserved. Its
 *   size for 1, 4 and 8 bits is `biClrUsed`, or 2 to the `biBitCount` if that is 0; for 24 bits,
 *   and for 16 and 32 bits without bit fields, it is 0. With bit fields it is 3, the red, green and
 *   blue masks of 32 bits each, of which a 16-bit bitmap uses the low 16 bits;
 * - the pixels follow the table; their rows are padded to multiples of 4 bytes.
 *
 * Without bit fields, 16 bits are 5-5-5 (red 0x7C00, green 0x03E0, blue 0x001F) and 32 bits are 8
 * each for red, green and blue (0xFF0000, 0xFF00, 0xFF).
 * @{
 */

/** @name ConvertMode
 * Which bits daxConvert() keeps of a sample that it narrows.
 * @{
 */
#define DAX_CONVERT_LOW_BITS 0  /**< the low bits */
#define DAX_CONVERT_HIGH_BITS 1 /**< the high bits */
/** @} */

/** @name paletteConversion
 * The colour table that daxConvertToDIB() maps pixels to.
 * @{
 */
#define DAX_PALETTE_KEEP 0       /**< the one that the bitmap has */
#define DAX_PALETTE_FIXED 1      /**< a fixed one */
#define DAX_PALETTE_MEDIAN_CUT 2 /**< one made for the image */
/** @} */

#ifndef DAX_HAVE_BITMAPINFOHEADER
/**
 * Tells that #BITMAPINFOHEADER is declared. A program that has the record from elsewhere defines
 * it ahead of this header.
 */
#define DAX_HAVE_BITMAPINFOHEADER
/**
 * The header of a device-independent bitmap; see @ref dax_move. On Windows it is the system's own.
 */
typedef struct tagBITMAPINFOHEADER {
    uint32_t biSize;         /**< 40 */
    int32_t biWidth;         /**< number of columns */
    int32_t biHeight;        /**< number of rows, negative for rows from top to bottom */
    uint16_t biPlanes;       /**< 1 */
    uint16_t biBitCount;     /**< bits of a pixel: 1, 4, 8, 16, 24 or 32 */
    uint32_t biCompression;  /**< #BI_RGB or #BI_BITFIELDS */
    uint32_t biSizeImage;    /**< not used */
    int32_t biXPelsPerMeter; /**< not used */
    int32_t biYPelsPerMeter; /**< not used */
    uint32_t biClrUsed;      /**< entries of the colour table, 0 for all that the bits allow */
    uint32_t biClrImportant; /**< not used */
} BITMAPINFOHEADER;
#endif
#ifndef BI_RGB
#define BI_RGB 0 /**< `biCompression`: plain pixels */
#endif
#ifndef BI_BITFIELDS
#define BI_BITFIELDS 3 /**< `biCompression`: pixels with bit-field masks */
#endif

/**
 * Copies the region of one image to that of another. Nothing is converted: depth, data order and
 * origin must agree. All six depths; all layouts.
 *
 * A channel can be moved to another place: with a `coi` on both sides, or a `coi` on one side and a
 * one-channel image on the other, that channel is copied and the other channels of the destination
 * stay. Rectangles: @ref dax_regions_rect. `origin` is compared, but rows are not turned over.
 *
 * Source and destination must not overlap.
 *
 * @par Reports
 * `daxCopy`, `daxSCE`: the headers; then @ref dax_checks_copy; then the status is read. When a tile
 * can't be had, status #DAX_StatusUnknownError, `Error get tile to write` or
 * `Error get tile to read`.
 *
 * @par Silent
 * Different numbers of selected channels; an empty common rectangle; `tilePos` outside the region;
 * when both images are tiled, a source rectangle that can't be gathered.
 *
 * @par Tiles
 * The tiles of the destination are walked, rows of tiles outermost; with a plain destination those
 * of the source. When both are tiled, the source's pixels for each tile are gathered first, and
 * those beyond the edge of the source come from its border settings. A ROI is not cut at the edge
 * of a tiled image: what of it lies beyond is moved, too, and tiles there are requested. If
 * exactly one image is tiled, the `roi` of the *other* header is rewritten for the length of the
 * walk. It is put back when the walk ends normally, but not after a tile failure, and not when
 * `tilePos` lies outside the region: then it points at a record that is gone, and the caller has
 * to set it anew.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param tilePos  @ref dax_tilepos_copy "tile index of the copying family", or null; ignored when
 *                 only the source is tiled
 */
DAX_API void daxCopy(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);

/**
 * Fills the region of an image, or its channel of interest, with one value. All six depths; the
 * value is clamped to the depth's range (on #DAX_DEPTH_1U: below 0 gives 0, above 1 gives 1). The
 * status isn't read, so this function works while it is negative.
 *
 * @par Reports
 * `daxSet`, `daxSCE`: the header. When a tile can't be had, status #DAX_StatusUnknownError,
 * `Error get tile to write`.
 *
 * @par Silent
 * An empty region; `tilePos` outside the region.
 *
 * @par Tiles
 * A ROI is not cut at the edge of a tiled image: what of it lies beyond is filled, too.
 *
 * @param dstImage  the image
 * @param fillValue the value
 * @param tilePos   @ref dax_tilepos_copy "tile index of the copying family", or null
 */
DAX_API void daxSet(DaxImage* dstImage, int32_t fillValue, const int32_t* tilePos);

/**
 * Swaps the contents of the regions of two images. Depths, layouts, rectangles and channels as in
 * daxCopy().
 *
 * @par Reports
 * `daxExchange`, `daxSCE`: as in daxCopy(). Tiles of both images are requested for writing; the
 * failure of a source tile is nevertheless reported with `Error get tile to read`. When both images
 * are tiled, pixels are moved by daxCopy(), which then reports under its own name.
 *
 * @par Silent
 * As in daxCopy().
 *
 * @par Tiles
 * As in daxCopy(). When both are tiled, the `roi` of the source is rewritten for each tile.
 *
 * @param srcImage one image
 * @param dstImage the other image
 * @param tilePos  @ref dax_tilepos_copy "tile index of the copying family", or null; ignored when
 *                 only the source is tiled
 */
DAX_API void daxExchange(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);

/**
 * Converts a whole image to another depth, data order and origin. Sizes must be equal. The ROI is
 * ignored, except that it names the channel of a source of several channels that becomes bitonal.
 * If the origins differ, rows are turned over, so that the picture stays as the viewer sees it.
 *
 * *Samples to samples.* The number of channels must be equal. s is the source sample; signed and
 * unsigned are mapped by a shift of the range by half, widening keeps the value and doesn't scale
 * it, and nothing is clamped: the low bits are stored.
 *
 * | from \\ to | 8U            | 8S            | 16U               | 16S        | 32S       |
 * |------------|---------------|---------------|-------------------|------------|-----------|
 * | 8U         | s             | s + 128       | s                 | s - 128    | s - 128   |
 * | 8S         | s + 128       | s             | s + 128           | s          | s         |
 * | 16U        | n(s)          | n(s) + 128    | s                 | s - 32768  | s - 32768 |
 * | 16S        | n(s) + 128    | n(s)          | s + 32768         | s          | s         |
 * | 32S        | n(s) + 128    | n(s)          | n(s) + 32768      | n(s)       | s         |
 *
 * n narrows as `ConvertMode` says. With k the bits that are kept and m the bits of the source:
 * - #DAX_CONVERT_HIGH_BITS: s divided by 2 to the m - k, truncated.
 * - #DAX_CONVERT_LOW_BITS, source 16U: s, of which the low 8 bits are stored.
 * - #DAX_CONVERT_LOW_BITS, signed source: the low k - 1 bits of s, with the sign kept: 0 to 127 or
 *   32767 for s from 0 on, and the low bits with all upper bits set for negative s.
 *
 * *Samples to bits.* Any number of channels; the source's channel `coi`, or the only one. A bit is
 * set when the sample is not 0 (unsigned) or above 0 (signed). `ConvertMode` isn't looked at.
 *
 * *Bits to bits.* Rows are copied in whole bytes. `ConvertMode` isn't looked at.
 *
 * *Bits to samples* is the task of daxBitonalToGray().
 *
 * @par Reports
 * `daxConvert`, `daxcvrt`, in this order:
 * 1. the headers
 * 2. `(srcImage->height != dstImage->height)`, `(srcImage->width != dstImage->width)`
 * 3. to bits from a source of several channels:
 *    `((srcImage->nChannels > 1) && (srcImage->roi == 0))`,
 *    `((srcImage->nChannels > 1) && (srcImage->roi->coi <= 0))`,
 *    `((srcImage->nChannels > 1) && (srcImage->roi->coi > srcImage->nChannels))`
 * 4. otherwise: `srcImage->nChannels != dstImage->nChannels`
 * 5. `((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))`
 * 6. samples to samples: `((ConvertMode != 1) && (ConvertMode != 0))`
 * 7. a tile that can't be had: `(dstImage->tileInfo->tileData == NULL)`,
 *    `(srcImage->tileInfo->tileData == NULL)`
 *
 * @par Silent
 * `tilePos` outside the image.
 *
 * @par Tiles
 * Either image, or both. Headers are only read. Up to one tile of each image is held; it is kept
 * as long as the walk stays in it. When a tile can't be had, the call ends, and the one that is
 * held of the other image isn't released. Between plain images `tilePos` isn't looked at.
 *
 * @param srcImage    the source
 * @param dstImage    the destination
 * @param ConvertMode #DAX_CONVERT_LOW_BITS or #DAX_CONVERT_HIGH_BITS
 * @param tilePos     @ref dax_tilepos_pixel "pixel position", or null
 */
DAX_API void daxConvert(DaxImage* srcImage, DaxImage* dstImage, int32_t ConvertMode,
                        const int32_t* tilePos);

/**
 * Expands a whole bitonal image: a clear bit becomes `ZeroScale` and a set bit `OneScale`, in every
 * channel of the destination. Sizes must be equal; ROIs and `coi` are ignored. The destination is
 * of any depth but #DAX_DEPTH_1U, in any data order. If the origins differ, rows are turned over,
 * so that the picture stays as the viewer sees it.
 *
 * @par Reports
 * `daxBitonalToGray`, `daxbitnl`, in this order:
 * 1. the headers
 * 2. `(srcImage->height != dstImage->height)`, `(srcImage->width != dstImage->width)`
 * 3. `(srcImage->nChannels != 1)`, `(srcImage->depth != 1)`, `(dstImage->depth == 1)`
 * 4. For a #DAX_DEPTH_8U destination, values out of range:
 *    `((dstImage->depth == 8) && (ZeroScale > 255))`,
 *    `((dstImage->depth == 8) && (ZeroScale < 0))`,
 *    `((dstImage->depth == 8) && (OneScale > 255))`,
 *    `((dstImage->depth == 8) && (OneScale < 0))`. For the other depths the same four, with
 *    `(0x80000000| 8)`, 127 and -128 for #DAX_DEPTH_8S, with `16`, 65535 and 0 for
 *    #DAX_DEPTH_16U, and with `(0x80000000|16)`, 32767 and -32768 for #DAX_DEPTH_16S.
 *    #DAX_DEPTH_32S takes any value.
 * 5. tiles as in daxConvert()
 *
 * @par Silent
 * As in daxConvert().
 *
 * @par Tiles
 * As in daxConvert().
 *
 * @param srcImage  the bitonal source
 * @param dstImage  the destination
 * @param ZeroScale the value of a clear bit
 * @param OneScale  the value of a set bit
 * @param tilePos   @ref dax_tilepos_pixel "pixel position", or null
 */
DAX_API void daxBitonalToGray(DaxImage* srcImage, DaxImage* dstImage, int32_t ZeroScale,
                              int32_t OneScale, const int32_t* tilePos);

/**
 * Makes an image of a device-independent bitmap. Where the layouts match, the image shares the
 * bitmap's pixels; otherwise it gets a converted copy, in plane order with `align` 8.
 *
 * | `biBitCount`         | Colour table | Image                                       | Shared |
 * |----------------------|--------------|---------------------------------------------|--------|
 * | 1                    | grey         | 1 channel #DAX_DEPTH_1U, `GRAY`             | yes    |
 * | 8                    | grey         | 1 channel #DAX_DEPTH_8U, `GRAY`             | yes    |
 * | 4                    | grey         | 1 channel #DAX_DEPTH_8U, `GRAY`             | no     |
 * | 1, 4, 8              | colour       | 3 channels #DAX_DEPTH_8U, `RGB`, `BGR`      | no     |
 * | 16                   |              | 3 channels #DAX_DEPTH_8U, `RGB`, `BGR`      | no     |
 * | 24                   |              | 3 channels #DAX_DEPTH_8U, `RGB`, `BGR`      | yes    |
 * | 32, #BI_RGB          |              | 4 channels #DAX_DEPTH_8U, `RGBA`, `BGRA`    | yes    |
 * | 32, #BI_BITFIELDS    |              | 4 channels #DAX_DEPTH_8U, `RGBA`, `BGRA`    | no     |
 *
 * A colour table is grey only if it is the full ramp: with n entries, red, green and blue of entry
 * i are all i times 255 / (n - 1), truncated. The table white, black is a colour table, and so is
 * one of a single entry.
 *
 * The origin is #DAX_ORIGIN_BOTTOM_LEFT for a `biHeight` from 0 on and #DAX_ORIGIN_TOP_LEFT for a
 * negative one. Free a sharing image with daxDeallocateHeader(), or with daxDeallocate(), which
 * leaves the bitmap's pixels alone.
 *
 * @par Reports
 * `daxTranslateDIB`, `daxdib`, in this order, all of status #DAX_StatusBadArgument; the result is
 * null then, and nothing stays allocated: `(dib == ((void *)0))`, `(cloneData == ((void *)0))`,
 * `(dib->biSize != sizeof(BITMAPINFOHEADER))`, `(dib->biPlanes != 1)`,
 * `(dib->biCompression != 0) && (dib->biCompression != 3)`, `Bad dib->biBitCount`,
 * `Create image header is failed`, `Allocate memory for DAX image data is failed`. The conversion
 * of a copy may report as daxConvertFromDIB().
 *
 * @param dib       the bitmap
 * @param cloneData receives 1 if the image shares the bitmap's pixels, which then must outlive it,
 *                  and 0 if it has pixels of its own
 * @return the image, or null
 */
DAX_API DaxImage* daxTranslateDIB(BITMAPINFOHEADER* dib, int32_t* cloneData);

/**
 * Converts a device-independent bitmap into an existing, plain image of 1, 3 or 4 channels of
 * #DAX_DEPTH_8U or #DAX_DEPTH_16U, or 1 channel of #DAX_DEPTH_1U, in any data order. The picture
 * stays upright whatever the origins of both are. Columns beyond `biWidth` stay as they were. ROI
 * and `coi` are ignored.
 *
 * A pixel is read to 8 bits of blue, green, red and alpha: table entries whole, with the reserved
 * byte as alpha; 24 bits without alpha; 16 and 32 bits by their masks. A field of fewer than 8 bits
 * is shifted up with zeroes below, so the full 5-bit field gives 248; of a wider field the upper 8
 * bits are taken. The alpha field of 32 bits is what lies above the highest field with
 * #BI_BITFIELDS, and the fourth byte with #BI_RGB. An index past the table reads on in the bitmap.
 * Then, by `channelSeq`:
 *
 * - `GRAY`, or `G` and three zero bytes: the luminance (77 R + 151 G + 28 B) / 256, truncated, the
 *   weights of ITU-R BT.601;
 * - `BGR`, `BGRA`: stored as they are; `RGB`, `RGBA`: with blue and red exchanged.
 *
 * A one-channel image stores the luminance if its `channelSeq` is grey, red if it begins with `B`,
 * and blue if it begins with `R`; at #DAX_DEPTH_1U the bit is set if that is above 127. Samples of
 * 16 bits are the 8-bit values times 256.
 *
 * @par Reports
 * `daxConvertFromDIB`, `daxdib`, in this order: the header; `dib==0`; the texts for `biSize`,
 * `biPlanes` and `biCompression` of daxTranslateDIB(); `image size is too small`, when `width` is
 * below `biWidth` or `height` below the absolute `biHeight`, or when the bitmap has more bytes
 * than 31 bits can count. With a negative status of an earlier call these two are silent:
 * `image->channelSeq unsupport`; and, with status #DAX_StatusInternalError and an empty text, a
 * `biBitCount` that isn't 1, 4, 8, 16, 24 or 32, or a combination of channels and depth that isn't
 * listed above.
 *
 * @param dib   the bitmap
 * @param image the destination
 */
DAX_API void daxConvertFromDIB(const BITMAPINFOHEADER* dib, DaxImage* image);

/**
 * Writes an image into a device-independent bitmap, whose header and buffer the caller has
 * prepared, with room for the colour table of 2 to the `biBitCount` entries. The image is plain,
 * unsigned, of 1 channel, of 3 channels, or of 4 channels of which the fourth is `alphaChannel`; 8
 * or 16 bits, or a single channel of 1 bit. The sizes must be equal, and `biHeight` positive. The
 * picture stays upright whatever the image's origin is. ROI and `coi` are ignored.
 *
 * Samples of 16 bits give their high byte. `channelSeq` says how channels become blue, green and
 * red: `GRAY` or `G`, `BGR`, `BGRA`, `RGB`, `RGBA`.
 *
 * *1, 4 and 8 bits*: each pixel becomes the index of the nearest entry of the colour table, by the
 * sum of squared differences of red, green and blue; the lowest index wins a tie. The table, by
 * `paletteConversion`:
 *
 * - #DAX_PALETTE_KEEP: the one that is there.
 * - #DAX_PALETTE_FIXED: for 2 entries black and white; for 16 the sixteen basic colours, or for a
 *   one-channel image 16 even greys; for 256 the levels of RRRGGGBB (red and green 0, 32, 64, 96,
 *   128, 160, 192, 255; blue 0, 64, 128, 255), or 256 greys. Tables of other sizes stay.
 * - #DAX_PALETTE_MEDIAN_CUT: a table made for the image by the median cut (Heckbert), on 6 bits of
 *   each colour or 8 bits of grey. If the image has no more distinct values than the table has
 *   room for, they become the table in rising order; a 6-bit value v gives 4 v, so 255 comes out
 *   as 252. `biClrUsed` is set to the number of entries, and the pixels follow those.
 *
 * *16 bits*: each channel is brought to the width of its field by a shift. *24 bits*: blue, green,
 * red. *32 bits*: the fields are shifted to their places; the alpha byte comes out as 0 with
 * #BI_RGB.
 *
 * @par dither
 * #DAX_DITHER_NONE takes the high byte of 16-bit samples. #DAX_DITHER_STUCKI reduces a 16-bit image
 * through daxReduceBits() first, and this is of use only if the status is negative afterwards: when
 * it isn't, the call ends with status #DAX_StatusInternalError and an empty text, and no pixel
 * reaches the bitmap. On images of 8 bits and less `dither` has no effect.
 *
 * @par Reports
 * `daxConvertToDIB`, `daxdib`, in this order:
 * 1. the header; `dib==0`
 * 2. `(image->nChannels <= 0 || image->nChannels > 4)`, `(image->depth & 0x80000000)`,
 *    `(image->alphaChannel != 0 && image->alphaChannel != 4)`
 * 3. with an alpha channel `(image->nChannels != 4)`, without one
 *    `(image->nChannels != 3 && image->nChannels != 1)`
 * 4. `(image->width != dib->biWidth || image->height != dib->biHeight)`
 * 5. the texts for `biSize`, `biPlanes` and `biCompression` of daxTranslateDIB(); the text of 4,
 *    when the bitmap has more bytes than 31 bits can count
 * 6. `(dither != 8 && dither != 1)`
 * 7. `(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)`
 * 8. when no table can be made: `create medcut palette error`
 * 9. `image->channelSeq unsupport`, `dib-<biBitCount is bad`
 * 10. if the status isn't negative yet, status #DAX_StatusInternalError with an empty text, for a
 *     combination of channels and depth that can't be read and for the case told under "dither"
 *
 * The table may have been written when one of the last three is reported.
 *
 * @param image             the source
 * @param dib               the bitmap
 * @param dither            #DAX_DITHER_NONE or #DAX_DITHER_STUCKI
 * @param paletteConversion one of the `DAX_PALETTE_...` values; without effect from 16 bits on
 */
DAX_API void daxConvertToDIB(DaxImage* image, BITMAPINFOHEADER* dib, int32_t dither,
                             int32_t paletteConversion);

/** @} */

/**
 * @defgroup dax_filter Filters
 * Operations whose result depends on a neighbourhood of source pixels.
 *
 * A neighbourhood is a rectangle of `nRows` by `nCols` pixels whose anchor, counted from its top
 * left cell, lies on the source pixel that pairs with the destination pixel. The region that is
 * written is never shrunk: what lies beyond the image comes from the source's border settings
 * (@ref dax_borders). The functions walk tiles in ways of their own, told at each.
 *
 * `mapping`, where it isn't null, is a pixel of a tiled destination, and the one tile that holds it
 * is worked. Note that the *source* position isn't moved to that tile by daxConvolve2D() and the
 * rank filters: the first pixel of the source's region pairs with the first pixel that is written.
 * @{
 */

/** A pixel of a tiled destination, to narrow the work to the tile that holds it. */
typedef struct DaxMapping {
    int32_t xDst; /**< column */
    int32_t yDst; /**< row */
} DaxMapping;

/** A convolution kernel; made by daxCreateConvKernel(). */
typedef struct DaxConvKernel {
    int32_t nRows;   /**< height, at least 1 */
    int32_t nCols;   /**< width, at least 1 */
    int32_t anchorX; /**< column of the anchor, 0 to `nCols` - 1 */
    int32_t anchorY; /**< row of the anchor, 0 to `nRows` - 1 */
    int32_t nShiftR; /**< by how many bits the kernel's sum is shifted right */
    int8_t* values;  /**< the coefficients, row by row, in a block of the kernel's own */
} DaxConvKernel;

/** @name combineMethod
 * How daxConvolve2D() merges the sums s of several kernels.
 * @{
 */
#define DAX_COMBINE_SUM 0              /**< sum of s */
#define DAX_COMBINE_SUM_SQUARES 1      /**< sum of s squared */
#define DAX_COMBINE_ROOT_SUM_SQUARES 2 /**< square root of the sum of s squared */
#define DAX_COMBINE_MAX 3              /**< the largest s */
#define DAX_COMBINE_MIN 4              /**< the smallest s */
/** @} */

/**
 * Makes a convolution kernel. The coefficients are copied in the caller's order, row by row from
 * the top left cell, without a flip.
 *
 * @par Reports
 * `daxConvolve2D`, `daxcnv2d`, in this order; the result is null then: `(values == 0)`;
 * `(nRows<=0 || nCols<=0)`; `(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)`; with
 * status #DAX_StatusOutOfMemory `Allocation failure`.
 *
 * @param nRows   height, at least 1
 * @param nCols   width, at least 1
 * @param anchorX column of the anchor, 0 to `nCols` - 1
 * @param anchorY row of the anchor, 0 to `nRows` - 1
 * @param values  `nRows` times `nCols` coefficients
 * @param nShiftR by how many bits the sum is shifted right; not tested
 * @return the kernel, for daxDeleteConvKernel(), or null
 */
DAX_API DaxConvKernel* daxCreateConvKernel(int32_t nRows, int32_t nCols, int32_t anchorX,
                                           int32_t anchorY, const int8_t* values, int32_t nShiftR);

/**
 * Reads a convolution kernel. Nothing is written unless all arguments are sound.
 *
 * @par Reports
 * `daxConvolve2D`, `daxcnv2d`, in this order: `kernel==0`; `ownBadKernel(kernel)`, when a field
 * is out of range; `nRows==0` and `nCols==0`, both tested; `anchorX==0` and `anchorY==0`, both
 * tested; `values==0`; `nShiftR==0`. After each of the two pairs the status is read.
 *
 * @param kernel  the kernel
 * @param nRows   receives the height
 * @param nCols   receives the width
 * @param anchorX receives the column of the anchor
 * @param anchorY receives the row of the anchor
 * @param values  points at the address of the caller's own buffer of `nRows` times `nCols` bytes,
 *                which receives the coefficients
 * @param nShiftR receives the shift
 */
DAX_API void daxGetConvKernel(const DaxConvKernel* kernel, int32_t* nRows, int32_t* nCols,
                              int32_t* anchorX, int32_t* anchorY, int8_t* const* values,
                              int32_t* nShiftR);

/**
 * Frees a convolution kernel and its coefficients.
 *
 * @par Reports
 * `daxConvolve2D`, `daxcnv2d`: `kernel==0`; `kernel->values==0`, and the record then stays.
 *
 * @param kernel the kernel; not null
 */
DAX_API void daxDeleteConvKernel(DaxConvKernel* kernel);

// clang-format off
/**
 * Correlates an image with one or more kernels and merges their results pixel by pixel.
 *
 * The sum of one kernel at the source pixel (u, v) is the sum over its rows r and columns c of
 * `values[r * nCols + c]` times the pixel at (u + c - `anchorX`, v + r - `anchorY`). It is shifted
 * right by the kernel's own `nShiftR`, arithmetically, then merged as `combineMethod` says, from
 * the last kernel of the array to the first, and the outcome is clamped to the depth of the
 * destination. Kernels may differ in size and anchor.
 *
 * | Destination      | Sources                | Sum                 | Merged in    |
 * |------------------|------------------------|---------------------|--------------|
 * | #DAX_DEPTH_1U    | 1U                     | 16 bits             | 16 bits      |
 * | #DAX_DEPTH_8U    | 1U, 8U                 | 16 bits             | 32 bits      |
 * | #DAX_DEPTH_8S    | 1U, 8U, 8S             | 16 bits             | 32 bits      |
 * | #DAX_DEPTH_16U   | 16U                    | 32 bits             | 32 bits      |
 * | #DAX_DEPTH_16S   | 16U, 16S               | 32 bits             | 32 bits      |
 * | #DAX_DEPTH_32S   | 16U, 16S, 32S          | 64-bit float        | 64-bit float |
 *
 * Other pairs do nothing, silently. Pixels of #DAX_DEPTH_1U count as 0 or 1. The destination
 * decides how a source pixel is read: a source pixel of 128 or more is negative for a signed
 * destination of the same width. A 16-bit source with a #DAX_DEPTH_32S destination is accepted but
 * of no use, since two neighbouring pixels are read as one 32-bit number, and as 0 where the row that
 * the kernels read ends before. A border constant is cut to the width of a source pixel; on
 * #DAX_DEPTH_1U to a byte, but to its lowest bit in place and for a source in tiles.
 *
 * All channels are filtered, whatever `coi` says, except that an image with a non-zero
 * `alphaChannel` leaves out the channel with the highest number. The counts that remain must be
 * equal. `srcImage` may be `dstImage`: the source's surroundings are copied first.
 *
 * @par Exactness
 * - A sum that leaves its 16 or 32 bits has no dependable value: for 8-bit and bitonal sources it
 *   is held at the limit on part of the pixels of a row and wraps on the others, for 16-bit sources
 *   it wraps. Sums of #DAX_DEPTH_32S are exact below 2 to the 53.
 * - With 8-bit destinations, a single-kernel call and the first kernel of a merge with
 *   #DAX_COMBINE_SUM, #DAX_COMBINE_MAX or #DAX_COMBINE_MIN (the last in the array) leave the *last
 *   pixel of a row of odd width unshifted*.
 * - With 16-bit destinations, the last pixel of a row of odd width has only the low 16 bits of its
 *   sum shifted, as a signed 16-bit number, while the high 16 bits stay; this holds for the first
 *   kernel of such a merge, for the later kernels of #DAX_COMBINE_MAX and #DAX_COMBINE_MIN, and for
 *   all kernels with squares.
 * - With #DAX_DEPTH_32S the sum is rounded to nearest (ties to even) before it is shifted.
 * - Keep `nShiftR` below the width of the sum, and of 32 for #DAX_DEPTH_32S: beyond that, some
 *   pixels of a row give the sign and others are shifted by `nShiftR` modulo 32.
 * - Squares and their sums wrap in the width of the merge. Roots are truncated, except with
 *   #DAX_DEPTH_32S, where the final rounding is to nearest, ties to even. A sum of squares that has
 *   wrapped below 0 has the root -2147483648; on #DAX_DEPTH_1U its low 16 bits, 0.
 * - With #DAX_DEPTH_1U a bit is set when the outcome is above 0; in the last `width` modulo 8
 *   pixels of a row, when it is 0 *or* more.
 *
 * @par Reports
 * `daxConvolve2D`, `daxcnv2d`, in this order:
 * 1. `srcImage==0` and `dstImage==0`, both tested; then the status is read
 * 2. the headers
 * 3. `kernel==0`
 * 4. `(nKernels<=0 || nKernels>100)`
 * 5. `( combineMethod != 0 && combineMethod != 1 && combineMethod != 2 && combineMethod != 3 && combineMethod != 4)`
 * 6. for each kernel: `kernel[i]==0`, `ownBadKernel(kernel[i])`
 * 7. with a mapping: `( mapping->xDst < 0 || mapping->xDst > dstImage->width-1 || mapping->yDst < 0 || mapping->yDst > dstImage->height-1)`
 * 8. different channel counts: `Uncompatible images`
 * 9. status #DAX_StatusOutOfMemory, `Allocation failure`, when a copy of the source or the header of
 *    a tile can't be had
 *
 * @par Silent
 * Pairs of depths that aren't listed; an empty common rectangle; no memory for the work rows, in
 * which case nothing is written; a tile of the destination without data, which ends the call.
 *
 * @par Tiles
 * Tiles of the destination are requested for writing, tile rows outermost, each once. The source's
 * surroundings of each tile are gathered with reading requests; where they can't be had, the call
 * ends with the destination's tile still held. Each tile counts as a rectangle of its own: its last
 * pixels are last pixels of a row.
 *
 * @param srcImage      the source
 * @param dstImage      the destination
 * @param kernel        an array of `nKernels` kernels
 * @param nKernels      1 to 100
 * @param combineMethod one of the `DAX_COMBINE_...` values
 * @param mapping       a pixel of a tiled destination, or null; tested but otherwise ignored
 *                      without tiles
 */
DAX_API void daxConvolve2D(DaxImage* srcImage, DaxImage* dstImage, DaxConvKernel* const* kernel,
                           int32_t nKernels, int32_t combineMethod, const DaxMapping* mapping);
// clang-format on

/**
 * Filters with a separable kernel: a column of coefficients, then a row of coefficients.
 *
 * With X the `nCols` values of `Xkernel` and Y the `nRows` values of `Ykernel`, the sum at the
 * source pixel (u, v) is the sum over j and i of X[j] times Y[i] times the pixel at (u + j -
 * `anchorX` of `Xkernel`, v + i - `anchorY` of `Ykernel`), without a flip. It is shifted right
 * once, arithmetically, by the sum of the two `nShiftR` modulo 32, then clamped to the depth of the
 * destination. Bitonal pixels count as 0 or 1, and a bit is set when the outcome is 1 or more. All
 * six depths, source and destination equal. `nRows` of `Xkernel` and `nCols` of `Ykernel` are
 * ignored.
 *
 * All arithmetic is done in 32 bits and wraps, also on #DAX_DEPTH_32S: a sum that leaves 32 bits
 * isn't clamped.
 *
 * Channels: with a `coi` on both sides, one channel, each image's own; otherwise all, the alpha
 * channel too. Anchors aren't tested: one outside displaces the kernel. Region: the
 * smallest height and width of the images and ROIs, where the offsets don't count; nothing is
 * written beyond the destination's edges. In-place calls work.
 *
 * @par Reports
 * `daxConvolveSep2D`, `daxcsep2`:
 * 1. the headers
 * 2. `Xkernel==0` and `Ykernel==0`, both tested; then the status is read
 * 3. all of these are tested: `srcImage->depth != dstImage->depth`,
 *    `srcImage->origin != dstImage->origin`, `srcImage->dataOrder != dstImage->dataOrder`,
 *    `srcImage->nChannels != dstImage->nChannels`; a `coi` on one side only,
 *    `nChannels in srcImage ROI != nChannels in dstImage ROI`, where a source of one channel may
 *    have a `coi` alone; `Xkernel->nCols <= 0`, `Ykernel->nRows <= 0`; then the status is read
 *
 * @par Silent
 * No memory for the work rows; a tile without data, which ends the call.
 *
 * @par Tiles
 * With tiles on either side, and for calls in place, the region is worked in blocks of the
 * destination's tile size, or else of the source's: the source's surroundings are gathered, and the
 * result is copied to the destination, whose tiles are requested for writing.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param Xkernel  the row of coefficients
 * @param Ykernel  the column of coefficients
 */
DAX_API void daxConvolveSep2D(DaxImage* srcImage, DaxImage* dstImage, const DaxConvKernel* Xkernel,
                              const DaxConvKernel* Ykernel);

/**
 * The mean of a rectangle of pixels (box filter), by running column and row sums, so that the cost
 * of a pixel doesn't depend on the size of the rectangle.
 *
 * The result is the sum of the `nRows` by `nCols` pixels from column u - `anchorX` and row v -
 * `anchorY` on, times the 32-bit float nearest to 1 / (`nRows` times `nCols`), truncated. A mean
 * that is a whole number can thus come out one too small where that float lies below the true
 * value. All depths but #DAX_DEPTH_1U, source and destination equal. On #DAX_DEPTH_32S the column
 * sums are 32-bit floats, so large values lose low bits, and the loss is carried on along a column.
 *
 * An anchor outside of the rectangle is legal and displaces it. A rectangle of 1 by 1 moves the
 * image by the anchor. `nRows` or `nCols` of 0 is accepted and gives 0, on #DAX_DEPTH_32S
 * -2147483648.
 *
 * Channels: those that both images select, the alpha channel too; with different `coi`, none.
 * In-place calls work.
 *
 * @par Reports
 * `daxBlur`, `daxBlur`, in this order: the headers; `(srcImage->depth!=dstImage->depth)`;
 * `(srcImage->depth==1)`; `(nRows<0||nCols<0)`; `(anchorX<0||anchorY<0)`.
 *
 * @par Silent
 * No memory; no common channel; a mapped tile that doesn't meet the region; a tile without data,
 * which ends the call.
 *
 * @par Tiles
 * Tile columns are walked outermost. A tile of the destination is released only after its
 * neighbours to the right and below have been worked, so that *several tiles of the destination are
 * held at a time*: the tile access function must be able to serve that, though `tileData` holds the
 * one requested last. Each tile is requested and released once. With a mapping, the source position
 * follows the tile.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param nRows    height of the rectangle
 * @param nCols    width of the rectangle
 * @param anchorX  column of the anchor, 0 or above
 * @param anchorY  row of the anchor, 0 or above
 * @param mapping  a pixel of a tiled destination, or null
 */
DAX_API void daxBlur(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                     int32_t anchorX, int32_t anchorY, const DaxMapping* mapping);

/**
 * The largest value of a rectangle of pixels, by a row pass and a column pass. On #DAX_DEPTH_1U the
 * OR of its bits. All six depths, source and destination equal; signed depths compare as signed.
 *
 * Channels: by the *destination's* `coi`. Without one, all channels of the destination, alpha
 * included; in plane order with one, that plane of each image (the first of a source without a
 * `coi`); in pixel order with one, the *first* channel of each pixel, whatever `coi` says. On
 * #DAX_DEPTH_1U `coi` isn't looked at. The images should have equal `nChannels`.
 *
 * Give the destination an image of its own. A call in place isn't detected, and pixels near the
 * edge of the image can then be read after they have been written.
 *
 * @par Reports
 * `daxMaxFilter`, `daxnlf`, in this order: the headers; `(anchorX>=nCols)||(anchorX<0)`;
 * `(anchorY>=nRows)||(anchorY<0)`; `srcImage->depth!=dstImage->depth`;
 * `srcImage->dataOrder!=dstImage->dataOrder`. Then these are all tested:
 * `Interst Channel of input Image more number of channels.`,
 * `Interst Channel of output Image more number of channels.`,
 * `Number of interset channel input and output Image is not equal.` (the working channel counts).
 * Then the status is read.
 *
 * @par Silent
 * No memory; a tile that can't be had. What was finished by then stays. A mapped tile that doesn't
 * meet the region; in that test the region's column goes with its height and its row with its
 * width, so a region that isn't square can be taken for missing a tile that it meets, or the other
 * way round.
 *
 * @par Tiles
 * The destination's tiles are walked, tile rows outermost. The source's surroundings are gathered
 * with reading requests.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param nRows    height of the rectangle, at least 1
 * @param nCols    width of the rectangle, at least 1
 * @param anchorX  column of the anchor, 0 to `nCols` - 1
 * @param anchorY  row of the anchor, 0 to `nRows` - 1
 * @param mapping  a pixel of a tiled destination, or null
 */
DAX_API void daxMaxFilter(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                          int32_t anchorX, int32_t anchorY, const DaxMapping* mapping);

/**
 * The smallest value of a rectangle of pixels; on #DAX_DEPTH_1U the AND of its bits. All else is as
 * in daxMaxFilter(), with the name `daxMinFilter` in the reports.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param nRows    height of the rectangle, at least 1
 * @param nCols    width of the rectangle, at least 1
 * @param anchorX  column of the anchor, 0 to `nCols` - 1
 * @param anchorY  row of the anchor, 0 to `nRows` - 1
 * @param mapping  a pixel of a tiled destination, or null
 */
DAX_API void daxMinFilter(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                          int32_t anchorX, int32_t anchorY, const DaxMapping* mapping);

/**
 * The median of a rectangle of pixels: of n values in rising order the one at position n / 2,
 * counted from 0, so for even n the upper of the two in the middle. On #DAX_DEPTH_1U the bit is
 * set when at least half of the rectangle's bits are.
 *
 * Rectangles of 3 by 3 and 5 by 5 go by selection networks, others of few pixels by a search bit by
 * bit, whose cost grows with n. Large ones go by the histograms of columns on 8 bits (Perreault and
 * Hebert), at a cost that doesn't grow with the rectangle, and by a sliding histogram on 16 bits,
 * at a cost that grows with its height.
 *
 * Channels: by the destination's `coi`. Without one, all channels of the destination; with one,
 * that channel of the destination and the source's `coi`, or the source's first channel if it has
 * none. On #DAX_DEPTH_1U `coi` isn't looked at. Don't call it in place: what is already filtered
 * would be read again, and it is slow.
 *
 * Reports, silence and tiles are as in daxMaxFilter(), with the name `daxMedianFilter`.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param nRows    height of the rectangle, at least 1
 * @param nCols    width of the rectangle, at least 1
 * @param anchorX  column of the anchor, 0 to `nCols` - 1
 * @param anchorY  row of the anchor, 0 to `nRows` - 1
 * @param mapping  a pixel of a tiled destination, or null
 */
DAX_API void daxMedianFilter(DaxImage* srcImage, DaxImage* dstImage, int32_t nRows, int32_t nCols,
                             int32_t anchorX, int32_t anchorY, const DaxMapping* mapping);

/**
 * Erosion by the square of 3 by 3 pixels: each pixel becomes the smallest of its nine neighbours;
 * on #DAX_DEPTH_1U, 1 when all nine are set.
 *
 * Depths: #DAX_DEPTH_8U and #DAX_DEPTH_16U; #DAX_DEPTH_1U. On signed depths nothing is done,
 * silently. Channels: with a `coi` the source's for reading and the destination's for writing;
 * otherwise all, alpha included. In-place calls work.
 *
 * The pixels around the region are read once, from `srcImage`, and used for all iterations: the
 * real ones outside a ROI, and those of the border settings outside the image. They stay what they
 * are while the region changes, so a dilation can't grow out of the region and back. A region that
 * is one pixel wide has no dependable result.
 *
 * @par Reports
 * `daxErode`, `daxErode`, in this order:
 * 1. `Null SRC image header`, `Null DST image header`
 * 2. both or none of `imageData` and `tileInfo`:
 *    `Specify exactly SRC image mode (non-tile/tile)`,
 *    `Specify exactly DST image mode (non-tile/tile)`
 * 3. a null `callBack` or a tile size below 1: `Illegal SRC tile info contents`,
 *    `Illegal DST tile info contents`
 * 4. `nIterations` below 1: `Illegal number of of iterations`
 * 5. `Mapping must be NULL`
 * 6. a bad header, whatever its fault: `Illegal SRC image header contents`,
 *    `Illegal DST image header contents`
 * 7. `SRC and DST depth are not compatible`, `SRC and DST order are not compatible`,
 *    `SRC and DST orign are not compatible`, and for the working channel counts
 *    `SRC and DST number of channels are not compatible`
 *
 * Then the thread's status is *set to 0*, whatever it was, and it is 0 again after the work. When
 * memory can't be had it ends with status #DAX_StatusOutOfMemory and `Not enough memory`.
 *
 * @par Tiles
 * Either image, or both. Tiles are requested again for every row, those of the destination for
 * reading, too. A tile that can't be had is read as zeroes, and isn't written.
 *
 * @param srcImage    the source
 * @param dstImage    the destination
 * @param nIterations how often, at least 1
 * @param mapping     null
 */
DAX_API void daxErode(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations,
                      const DaxMapping* mapping);

/**
 * Dilation by the square of 3 by 3 pixels: each pixel becomes the largest of its nine neighbours;
 * on #DAX_DEPTH_1U, 1 when any is set. All else is as in daxErode(), with `daxDilate` for both
 * names in the reports.
 *
 * @param srcImage    the source
 * @param dstImage    the destination
 * @param nIterations how often, at least 1
 * @param mapping     null
 */
DAX_API void daxDilate(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations,
                       const DaxMapping* mapping);

/**
 * Opening: an erosion, then a dilation of its result, and this pair `nIterations` times over. Two
 * iterations are thus an opening of an opening, not two erosions and two dilations.
 *
 * Each pass reads the pixels around the region from `srcImage` anew. All else is as in daxErode(),
 * with `daxOpen` for both names in the reports.
 *
 * @param srcImage    the source
 * @param dstImage    the destination
 * @param nIterations how often, at least 1
 * @param mapping     null
 */
DAX_API void daxOpen(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations,
                     const DaxMapping* mapping);

/**
 * Closing: a dilation, then an erosion of its result, and this pair `nIterations` times over. All
 * else is as in daxOpen(), with `daxClose` for both names in the reports.
 *
 * @param srcImage    the source
 * @param dstImage    the destination
 * @param nIterations how often, at least 1
 * @param mapping     null
 */
DAX_API void daxClose(DaxImage* srcImage, DaxImage* dstImage, int32_t nIterations,
                      const DaxMapping* mapping);

/** @} */

/**
 * @defgroup dax_geometry Geometry
 * Resampling and reorientation.
 *
 * The factors of daxZoom() and daxDecimate() are fractions: a width of W becomes W times `xU` /
 * `xL`, and a height of H becomes H times `yU` / `yL`. Both start at the corners of the two
 * regions. None of the functions but daxMirror() works in place.
 * @{
 */

/** @name interpolate
 * @{
 */
#define DAX_INTER_NN 0     /**< nearest neighbour */
#define DAX_INTER_LINEAR 1 /**< linear along both axes */
#define DAX_INTER_CUBIC 2  /**< the cubic through four samples (Lagrange) along both axes */
/** @} */

/** @name flipAxis
 * @{
 */
#define DAX_FLIP_ROWS 0    /**< reverse the order of rows: top and bottom change places */
#define DAX_FLIP_COLUMNS 1 /**< reverse the order within rows: left and right change places */
#define DAX_FLIP_BOTH (-1) /**< both */
/** @} */

// clang-format off
/**
 * Enlarges an image. Both factors are at least 1; for smaller ones there is daxDecimate().
 *
 * Depths: #DAX_DEPTH_8U, #DAX_DEPTH_16U, and #DAX_DEPTH_1U by nearest neighbour. On other depths
 * nothing is done, silently. With sx = `xL` / `xU`, destination column k lies at the source
 * position k times sx from the region's left edge, and rows alike. The destination is filled as far
 * as source pixels reach, about `xU` / `xL` times the source's region, and the rest of it stays as
 * it was. Near the right and lower edge of a ROI real pixels beyond it are read.
 *
 * - #DAX_INTER_NN: the pixel that holds the position (it is truncated), in steps of 1/16384.
 * - #DAX_INTER_LINEAR: in steps of 1/16384. On 8 bits both passes truncate. On 16 bits the lowest
 *   bit of a sample is lost on entry, so 65535 comes out as 65534. At the right and lower edge of
 *   the image the last two samples are extrapolated, and the result wraps.
 * - #DAX_INTER_CUBIC: Newton's forward differences on the four nearest samples inside the image, in
 *   double precision, with rows kept as 32-bit floats; the result is cut to a whole number with a
 *   tolerance of 0.00001, and clamped.
 *
 * A source that is narrower or lower than 2 pixels uses nearest neighbour, one below 4 linear in
 * place of cubic. `origin` isn't compared.
 *
 * Channels: with a `coi` above 1 on either side, one channel of each, and both sides must select
 * one or have only one. Otherwise the numbers of channels must agree; a destination without `roi`
 * isn't tested, and has to have as many as the source selects.
 *
 * @par Reports
 * `daxZoom`, `daxZoom`:
 * 1. the headers; then the status is read
 * 2. all of these are tested:
 *    `interpolate != DAX_INTER_NN && interpolate != DAX_INTER_LINEAR && interpolate != DAX_INTER_CUBIC`,
 *    `srcImage->depth != dstImage->depth`, `srcImage->dataOrder != dstImage->dataOrder`,
 *    `xU <= 0 || xL <= 0`, `yU <= 0 || yL <= 0`, `xU < xL || yU < yL`; then the status is read
 * 3. a tile that can't be had: status #DAX_StatusUnknownError, `Error get tile to write`
 *
 * @par Silent
 * Other depths; channels that don't agree; an empty rectangle; no memory for the work rows; a
 * source rectangle that can't be gathered.
 *
 * @par Tiles
 * Tiles of the destination, or with a plain destination blocks of 128 by 128 pixels. Positions start
 * anew at each tile with their own fraction, so that linear and cubic results at a tile's edge can
 * differ in the last bit from those of a plain image. With a tiled destination and a plain source
 * the source's `roi` is rewritten for the length of the walk and not put back after a tile failure;
 * see daxCopy().
 *
 * @param srcImage    the source
 * @param dstImage    the destination
 * @param xU          numerator of the horizontal factor
 * @param xL          denominator of the horizontal factor
 * @param yU          numerator of the vertical factor
 * @param yL          denominator of the vertical factor
 * @param interpolate one of the `DAX_INTER_...` values
 * @param tilePos     with a plain source @ref dax_tilepos_copy "tile index of the copying family";
 *                    with a tiled source a tile index that selects the region's first tile, or
 *                    nothing if it names another; or null
 */
DAX_API void daxZoom(DaxImage* srcImage, DaxImage* dstImage, int32_t xU, int32_t xL, int32_t yU,
                     int32_t yL, int32_t interpolate, const int32_t* tilePos);
// clang-format on

/**
 * Shrinks an image. Both factors are at most 1; for larger ones there is daxZoom(). Each
 * destination pixel is one point of the source and not a mean: smooth the source first if fine
 * detail must not alias.
 *
 * Depths: #DAX_DEPTH_8U, #DAX_DEPTH_16U, and #DAX_DEPTH_1U by nearest neighbour. All in integers,
 * with positions in steps of 1/256; the step is 256 times `xL` / `xU`, truncated. The destination
 * gets `xU` / `xL` times the source's region, truncated, or less.
 *
 * - #DAX_INTER_NN: the first pixel of each step when `xL` is a multiple of `xU`, and the pixel half
 *   a pixel further otherwise; decided for each axis by itself. It is used for all requests when
 *   both factors are whole, and when the source is narrower or lower than 4 pixels.
 * - #DAX_INTER_LINEAR, #DAX_INTER_CUBIC: along the axes whose factor isn't whole. Positions lie
 *   1/256 pixel below the exact ones, except that a start at 0 is the plain sample. Linear rounds
 *   to nearest. Cubic truncates, then clamps; sums of 16-bit samples along both axes can overflow
 *   32 bits and wrap. With a plain source the last row is left out where the cubic would need
 *   pixels beyond the image, and at the right edge columns are left out by the *vertical* step.
 *
 * Channels: the smaller count of the two; with a `coi` on one side only, the first channel of the
 * other.
 *
 * @par Reports
 * `daxDecimate`, `daxdecim`:
 * 1. the headers
 * 2. all of these are tested: `srcImage->depth != dstImage->depth`,
 *    `srcImage->origin != dstImage->origin`, `srcImage->dataOrder != dstImage->dataOrder`,
 *    `interpolate != DAX_INTER_NN, DAX_INTER_LINEAR or DAX_INTER_CUBIC`, `xU <= 0`, `xL <= 0`,
 *    `yU <= 0`, `yL <= 0`, `xU > xL`, `yU > yL`; then the status is read
 * 3. with the module `owndecim`: `srcImage->depth is wrong`
 * 4. with the module `owndecim`, status #DAX_StatusInternalError when a tile can't be had:
 *    `dstImage->tileInfo->callBack crash`, `srcImage->tileInfo->callBack crash`; status
 *    #DAX_StatusOutOfMemory with an empty text, and then the latter, when tiles can't be put
 *    together
 *
 * @par Silent
 * An empty rectangle; `tilePos` outside the region.
 *
 * @par Tiles
 * Tiles of the destination, tile rows outermost. Tiles of the source are worked one by one for
 * nearest neighbour, and put together for each destination tile otherwise; there the image's edge
 * is repeated, whatever the border settings are. To find the edge, tiles just beyond it are
 * requested, which the tile access function answers with a null `tileData`.
 *
 * @param srcImage    the source
 * @param dstImage    the destination
 * @param xU          numerator of the horizontal factor
 * @param xL          denominator of the horizontal factor
 * @param yU          numerator of the vertical factor
 * @param yL          denominator of the vertical factor
 * @param interpolate one of the `DAX_INTER_...` values
 * @param tilePos     @ref dax_tilepos_index "tile index", or null
 */
DAX_API void daxDecimate(DaxImage* srcImage, DaxImage* dstImage, int32_t xU, int32_t xL, int32_t yU,
                         int32_t yL, int32_t interpolate, const int32_t* tilePos);

/**
 * Flips the region of an image. All six depths; pixels keep the order of their channels. Works in
 * place, when `srcImage` is `dstImage`, on plain and on tiled images. The data orders should be
 * equal, but this isn't tested, and `origin` isn't looked at.
 *
 * Both images must have the same number of channels and the same `coi`; with one, only that channel
 * is flipped. The rectangle is that of @ref dax_regions_rect, with one exception: if the *source's*
 * ROI runs past the right edge, its width becomes the image's height minus `yOffset`. Let it lie
 * inside the image.
 *
 * @par Reports
 * `daxMirror`, `daxmirr`, in this order: the headers; `(srcImage->depth!=dstImage->depth)`;
 * `(srcImage->nChannels!=dstImage->nChannels)`; `((flipAxis>1)||(flipAxis<-1))`;
 * `(coiSrc!=coiDst)`, also for an image without a ROI and one with a `coi`.
 *
 * @par Silent
 * `tilePos` outside the rectangle. No tile failure is reported: the tile access function must
 * deliver every tile that it is asked for.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param flipAxis one of the `DAX_FLIP_...` values
 * @param tilePos  @ref dax_tilepos_pixel "pixel position", or null
 */
DAX_API void daxMirror(DaxImage* srcImage, DaxImage* dstImage, int32_t flipAxis,
                       const int32_t* tilePos);

/**
 * Rotates an image about a centre by an angle in hundredths of a degree.
 *
 * Depths: #DAX_DEPTH_1U, #DAX_DEPTH_8U, #DAX_DEPTH_16U. The destination's rectangle is always
 * written in full: what comes from outside of the source *image* (not only its ROI) becomes 0.
 *
 * With c and s the cosine and sine of the angle, the destination pixel at (i, j) from the corner of
 * its region has X = i + the source ROI's `xOffset` and Y = j + its `yOffset`, and takes its value
 * at
 *
 *     xs = c (X - xCenter) - s (Y - yCenter) + xCenter
 *     ys = s (X - xCenter) + c (Y - yCenter) + yCenter
 *
 * On an image with #DAX_ORIGIN_BOTTOM_LEFT the angle is negated and `yCenter` counted from the
 * other edge, so that the picture turns the same way for the viewer.
 *
 * - Multiples of 90 degrees move pixels exactly, without interpolation. Multiples of 360 degrees
 *   are a daxCopy().
 * - #DAX_INTER_NN: the nearest pixel. Always used on #DAX_DEPTH_1U and for a source that is 1 pixel
 *   wide or high.
 * - #DAX_INTER_LINEAR: used in place of cubic for a source below 4 pixels. On 8 bits in steps of
 *   1/16384, with rounding in both passes; a position exactly on the last column or row gives
 *   almost the value of the last but one. On 16 bits in double precision, rounded to nearest.
 * - #DAX_INTER_CUBIC: the cubic through four samples along each axis, in double precision, rounded
 *   to nearest and clamped.
 *
 * Positions of #DAX_DEPTH_8U and #DAX_DEPTH_1U are limited to 32767.
 *
 * Channels: the number of selected channels must agree. In plane order the source is read from its
 * first plane on, whatever its `coi` says.
 *
 * @par Reports
 * `daxRotate`, `daxRotat`: the headers; the texts of @ref dax_checks_copy;
 * `srcImage->origin != dstImage->origin` a second time, which ends the call;
 * `srcImage->depth & DAX_DEPTH_SIGN`; then the status is read. For multiples of 360 degrees, after
 * a failure of daxCopy(), status #DAX_StatusBacktrace with an empty text. A tile that can't be had:
 * status #DAX_StatusUnknownError, `Error get tile to write`.
 *
 * @par Silent
 * Different numbers of selected channels; an empty rectangle; a source rectangle that can't be
 * gathered.
 *
 * @par Tiles
 * Tiles of the destination, or with a plain destination blocks of 128 by 128 pixels. `roi` and
 * `origin` of both headers may be rewritten for the length of the call.
 *
 * @param srcImage    the source
 * @param dstImage    the destination
 * @param angle       in units of 0.01 degree, any value
 * @param xCenter     column of the centre, in the source image
 * @param yCenter     row of the centre, in the source image
 * @param interpolate one of the `DAX_INTER_...` values
 * @param tilePos     @ref dax_tilepos_copy "tile index of the copying family", or null; ignored
 *                    when only the source is tiled
 */
DAX_API void daxRotate(DaxImage* srcImage, DaxImage* dstImage, int32_t angle, int32_t xCenter,
                       int32_t yCenter, int32_t interpolate, const int32_t* tilePos);

/** @} */

/**
 * @defgroup dax_transform Transforms
 * The Fourier transform of real images and the cosine transform, in integer images.
 *
 * The plans and tables that these functions keep between calls belong to the calling thread and are
 * freed with it at the latest.
 *
 * @section dax_ccs The packed spectrum
 *
 * The spectrum F(u, v) of a real image of W columns and H rows, with u along x and v along y, has
 * as many independent numbers as the image has pixels. It is packed into an image of the same size
 * (CCS, complex conjugate-symmetric):
 *
 * - Column 0 holds u = 0: F(0, 0) in row 0, then Re F(0, k) and Im F(0, k) in the rows 2k - 1 and
 *   2k, and for even H the real F(0, H/2) in the last row.
 * - For even W the last column holds u = W/2 in the same arrangement.
 * - The columns 2j - 1 and 2j hold Re F(j, v) and Im F(j, v) in every row v.
 *
 * A single row or column is R0, R1, I1, R2, I2 and so on, with the real middle frequency in the
 * last place for an even length.
 * @{
 */

/** @name Flags of daxRealFft2D() and daxCcsFft2D()
 * Exactly one of the first two is needed, except with the repeating and the freeing flag; the two
 * engines exclude one another.
 * @{
 */
#define DAX_FFT_FORWARD 1   /**< kernel e to the minus i theta, no scaling */
#define DAX_FFT_INVERSE 2   /**< kernel e to the plus i theta, scaled by 1 / (W H) */
#define DAX_FFT_NOSCALE 4   /**< don't scale the inverse */
#define DAX_FFT_ALPHA 8     /**< transform the alpha channel, too */
#define DAX_FFT_USEINT 16   /**< use the fixed-point engine */
#define DAX_FFT_USEFLOAT 32 /**< use the floating-point engine */
#define DAX_FFT_REPEAT 64   /**< use the plan of this thread's previous call */
#define DAX_FFT_FREE 128    /**< free all tables and buffers and return */
#define DAX_FFT_KEEP 256    /**< keep tables and buffers for the next call */
/** @} */

/** @name Flags of daxDCT2D()
 * @{
 */
#define DAX_DCT_FORWARD 1 /**< forward transform */
#define DAX_DCT_INVERSE 2 /**< inverse transform */
#define DAX_DCT_ALPHA 4   /**< transform the alpha channel, too */
#define DAX_DCT_FREE 8    /**< free the tables and return */
/** @} */

/**
 * The Fourier transform of a real image, packed (@ref dax_ccs): F(u, v) is the sum over all x and y
 * of f(x, y) times e to the minus 2 pi i (u x / W + v y / H). With #DAX_FFT_INVERSE the sign of the
 * exponent is plus and the result is scaled by 1 / (W H), unless #DAX_FFT_NOSCALE is set. The way
 * is always from real to packed; the flags choose only sign and scale.
 *
 * Depths: all but #DAX_DEPTH_1U, and the two may differ. Results are limited to the range of the
 * destination's depth, so choose one that can carry the spectrum: the term (0, 0) is the sum of all
 * samples. Any size. In floats, lengths with prime factors up to 31 go by passes of small radices,
 * others by a chirp transform. In fixed point, powers of two go by radix 4 (decimation in
 * frequency), other lengths by the direct sum, at a cost of the square of the length.
 *
 * *Engines.* Fixed point, in 32-bit integers with 6 fraction bits and coefficients of 14 bits, for
 * up to 128 pixels; floats above, stored in 32 bits and computed in 64. A flag forces either.
 * Rounding: fixed point cuts with an
 * arithmetic shift, in which results between -1 and 0 become 0, and rounds to nearest only where it
 * has to scale by a number that is no power of two. A spectrum in floats is rounded to nearest,
 * ties to even, and truncated on #DAX_DEPTH_8S; that of a single row or column is truncated on all
 * depths, and so is what daxCcsFft2D() gives.
 *
 * *Rectangle.* A ROI must lie inside its image, and both images must have the same `coi`. The
 * rectangle is the *intersection* of the two regions, at the same coordinates in both images. Here
 * `coi` counts from 0 in effect: a non-zero `coi` of n selects the channel after the n-th, so it
 * must be below `nChannels`. With `coi` 0 all channels are transformed, except that without
 * #DAX_FFT_ALPHA the alpha channel is left alone.
 *
 * *State.* Normally all is freed at the end of a call. For many transforms of one size set
 * #DAX_FFT_KEEP, and free with a last call with #DAX_FFT_FREE, which looks at no other argument.
 * #DAX_FFT_REPEAT saves making the plan: sizes, steps, addresses of pixels, depths and direction
 * are those of the previous call of this thread, whatever images are given; only the rectangle is
 * taken from them.
 *
 * @par Reports
 * `daxRealFft2D`, `daxfft2d`: `srcImage==0` and `dstImage==0`, both tested, then the status is
 * read; `srcImage->imageData==0` and `dstImage->imageData==0`, both tested, then the status is
 * read; `(map!=((void*)(0)))`; `Error in input data` for a bad header, bad flags, `nChannels`,
 * `alphaChannel` or `coi` that differ, a depth that isn't accepted, a ROI beyond its image, and
 * when memory can't be had; `No calculations! Looking input data!` for a rectangle that is empty or
 * one pixel, when no channel is left, and for #DAX_FFT_REPEAT in a thread that has no plan. Tables
 * that were kept survive what is refused, but not the end of memory.
 *
 * @par Tiles
 * Not accepted.
 *
 * @param srcImage the real image
 * @param dstImage the packed spectrum
 * @param flags    a sum of the `DAX_FFT_...` values
 * @param map      null
 */
DAX_API void daxRealFft2D(DaxImage* srcImage, DaxImage* dstImage, int32_t flags, const void* map);

/**
 * The way back: the real image of a packed spectrum (@ref dax_ccs). With #DAX_FFT_INVERSE it undoes
 * a forward daxRealFft2D(). All else is as in daxRealFft2D(), with the name `daxCcsFft2D` in the
 * reports.
 *
 * @param srcImage the packed spectrum
 * @param dstImage the real image
 * @param flags    a sum of the `DAX_FFT_...` values
 * @param map      null
 */
DAX_API void daxCcsFft2D(DaxImage* srcImage, DaxImage* dstImage, int32_t flags, const void* map);

/**
 * The orthonormal discrete cosine transform, type II forward and type III inverse, of each channel.
 * Forward, of an image f of W columns and H rows:
 *
 *     F(v, u) = 2 / sqrt(W H) c(v) c(u) times the sum over all y and x of
 *               f(y, x) cos((2x + 1) u pi / (2W)) cos((2y + 1) v pi / (2H))
 *
 * with c(0) = 1 / sqrt(2) and c(k) = 1 otherwise. The inverse is its adjoint.
 *
 * Depths: all but #DAX_DEPTH_1U, and the two may differ. Results are limited to the range of the
 * destination's depth. The headers aren't checked beyond what stands under "Reports": both have to
 * be sound, with their pixels in one block.
 *
 * - *Fixed point*, in 16 bits: height and width are powers of two from 4 on, and neither depth is
 *   #DAX_DEPTH_32S. Samples of #DAX_DEPTH_16U above 32767 are taken as negative.
 * - *Floating point*, rounded to nearest: all else.
 *
 * Lengths that are powers of two go by the fast split of B. G. Lee, other lengths by a Fourier
 * transform. In fixed point, the results of rows and of columns are rounded to nearest and limited
 * to 16 bits before they are scaled, so large bright images lose their lowest frequencies; scaling
 * is by arithmetic shifts. Blocks of 4 by 4 and 8 by 8 are rounded once, at the end.
 *
 * Without #DAX_DCT_ALPHA the alpha channel is skipped. With a ROI the rectangle is that of `src`,
 * and `dst` is written at its own offset; with a `coi` in it, one channel is done, each image's
 * own. Channels that are skipped stay as they were.
 *
 * With both directions or neither nothing is done, silently. Tables are kept until a call with
 * #DAX_DCT_FREE, which looks at no other argument. When memory can't be had, the work ends without
 * a report.
 *
 * @par Reports
 * `daxDCT2D`, `daxdct2d`: `src==0` and `dst==0`, both tested, then the status is read;
 * `Images are not compatible` when `src` is `dst`, when `nChannels`, `width`, `height` or
 * `dataOrder` differ, when only one image has a ROI, and when a ROI lies beyond its image. Depths,
 * ROI sizes and `coi` are not compared.
 *
 * @par Tiles
 * Not accepted.
 *
 * @param src   the source
 * @param dst   the destination
 * @param flags a sum of the `DAX_DCT_...` values
 */
DAX_API void daxDCT2D(DaxImage* src, DaxImage* dst, int32_t flags);

/** @} */

/**
 * @defgroup dax_color Colour
 * Conversion between colour spaces, reduction of depth, and the colour twist.
 *
 * @section dax_color_frame The frame of the conversions
 *
 * The six functions from daxRGB2HSV() to daxGrayToColor() share one frame. The channels of a colour
 * image are found by the letters of its `channelSeq`: in pixel order R, G, B if it starts with "R",
 * and B, G, R otherwise; in plane order each plane by its letter. HSV and HLS images hold their
 * channels in the order of the name. A fourth channel isn't touched. ROIs are not honoured: the
 * common area of the whole images is converted. All conversions from floating point truncate. Plain
 * images may be converted between models in place.
 *
 * The models are the hexcone (HSV) and the double hexcone (HLS):
 *
 * | Depth           | H                     | S               | V or L          |
 * |-----------------|-----------------------|-----------------|-----------------|
 * | #DAX_DEPTH_8U   | half degrees, 0 to 179| 0 to 255        | 0 to 255        |
 * | #DAX_DEPTH_16U  | degrees, 0 to 359     | 0 to 65535      | 0 to 65535      |
 * | #DAX_DEPTH_32S  | degrees, 0 to 359     | 0 to 2147483647 | 0 to 2147483647 |
 *
 * Each depth has an arithmetic of its own, integer on 8 bits and floating above, so the same colour
 * doesn't come out alike at two depths. After a conversion between models the destination's
 * `colorModel` and `channelSeq` are overwritten with the three letters of its new model.
 *
 * @par Reports of the frame
 * All with status #DAX_StatusBadArgument, the module being `daxcolor` for the first and the third,
 * and `owncolor` for the others, in this order:
 * 1. the headers; in all six functions under the name `daxReduceBits`
 * 2. under the function's own name `null_image_pointer`, `null_data_pointer`
 * 3. under the function's own name `incomatibleimages`, for a pair that isn't compatible
 * 4. `errInOutDepth`, for depths that aren't accepted, under the name that is told at each function
 * 5. with status #DAX_StatusOutOfMemory, under the function's own name, `out_of_memory`, when the
 *    source's pixels of a tile can't be had
 *
 * @par Tiles of the frame
 * `tilePos` names exactly one tile, and nothing is tested. With null, tiles of the destination are
 * requested for writing, each row of tiles from left to right, and *the walk ends where the tile
 * access function delivers none*: a null `tileData` ends a row of tiles, and a null `tileData` for
 * the first tile of a row ends the walk. So the function must answer with null beyond the last
 * column and row of tiles. The source's pixels of each tile are gathered with reading requests;
 * what lies beyond the image follows the source's border settings.
 * @{
 */

/** @name Dither options
 * For daxReduceBits(); the first and #DAX_DITHER_STUCKI for daxConvertToDIB(), too.
 * @{
 */
#define DAX_DITHER_NONE 1   /**< no dither */
#define DAX_DITHER_FS 2     /**< error diffusion of Floyd and Steinberg */
#define DAX_DITHER_JJN 4    /**< error diffusion of Jarvis, Judice and Ninke */
#define DAX_DITHER_STUCKI 8 /**< error diffusion of Stucki */
#define DAX_DITHER_BAYER 16 /**< ordered dither with a matrix of 4 by 4 */
/** @} */

/** A colour twist: an affine map of three channels in integers; made by daxCreateColorTwist(). */
typedef struct DaxColorTwist {
    int32_t data[16];     /**< 4 rows of 4: three weights and a bias; the last row isn't read */
    int32_t scalingValue; /**< 0 to 31: each element stands for itself divided by 2 to this power */
} DaxColorTwist;

/**
 * RGB to HSV. V is the largest of R, G, B; S their spread over V, scaled to the depth's range; H
 * the hue, with red at 0, green at 120, blue at 240 degrees. Grey has H 0.
 *
 * Compatible: the source's `colorModel` starts with "RGB"; equal working channel counts, depth,
 * `dataOrder` and `origin`. Depths: #DAX_DEPTH_8U, #DAX_DEPTH_16U, #DAX_DEPTH_32S.
 *
 * @par Reports
 * @ref dax_color_frame; the depth under the name `ownRGB2HSV`.
 *
 * @param rgbImage the source
 * @param hsvImage the destination
 * @param tilePos  @ref dax_tilepos_index "tile index", or null
 */
DAX_API void daxRGB2HSV(DaxImage* rgbImage, DaxImage* hsvImage, const int32_t* tilePos);

/**
 * HSV to RGB. With p, a and b the lowest, falling and rising value of a sector, the colours of the
 * six sectors of 60 degrees are (V, b, p), (a, V, p), (p, V, b), (p, a, V), (b, p, V), (V, p, a).
 * On 8 bits 1/60 is approximated by 34/2048, and H from 180 on falls in the last sector; on the
 * other depths an H of 360 is 0.
 *
 * Compatible: the source's `colorModel` starts with "HSV"; equal working channel counts, depth,
 * `dataOrder` and `origin`. Depths: #DAX_DEPTH_8U, #DAX_DEPTH_16U, #DAX_DEPTH_32S.
 *
 * @par Reports
 * @ref dax_color_frame; the depth under the name `ownRGB2HSV`.
 *
 * @param hsvImage the source
 * @param rgbImage the destination; its `channelSeq` is read before it is overwritten
 * @param tilePos  @ref dax_tilepos_index "tile index", or null
 */
DAX_API void daxHSV2RGB(DaxImage* hsvImage, DaxImage* rgbImage, const int32_t* tilePos);

/**
 * RGB to HLS. With M the largest and m the smallest of R, G, B: L is (M + m) / 2; S is M - m over
 * M + m in the lower half of L and over twice the maximum less M + m in the upper; H as in
 * daxRGB2HSV(). Grey has H and S 0.
 *
 * Compatible: as in daxRGB2HSV(). Depths: #DAX_DEPTH_8U, #DAX_DEPTH_16U, #DAX_DEPTH_32S.
 *
 * @par Reports
 * @ref dax_color_frame; the depth under the name `ownRGB2HSV`.
 *
 * @param rgbImage the source
 * @param hlsImage the destination
 * @param tilePos  @ref dax_tilepos_index "tile index", or null
 */
DAX_API void daxRGB2HLS(DaxImage* rgbImage, DaxImage* hlsImage, const int32_t* tilePos);

/**
 * HLS to RGB, by a ramp of 60 degrees between the low and the high value.
 *
 * Compatible: the source's `colorModel` starts with "HLS"; equal working channel counts, depth,
 * `dataOrder` and `origin`. Depths: #DAX_DEPTH_8U, #DAX_DEPTH_16U, #DAX_DEPTH_32S.
 *
 * @par Reports
 * @ref dax_color_frame; the depth under the name `ownRGB2HLS`.
 *
 * @param hlsImage the source
 * @param rgbImage the destination; its `channelSeq` is read before it is overwritten
 * @param tilePos  @ref dax_tilepos_index "tile index", or null
 */
DAX_API void daxHLS2RGB(DaxImage* hlsImage, DaxImage* rgbImage, const int32_t* tilePos);

/**
 * The luminance of a colour image, with the weights of ITU-R BT.709 in integers (shifts round
 * down):
 *
 * | Source | Destination     | Result                                                           |
 * |--------|-----------------|--------------------------------------------------------------------|
 * | 8U     | 8U              | Y >> 8, with Y = 54 R + 183 G + 18 B                             |
 * | 8U     | 16U             | Y                                                                |
 * | 8U     | 1U              | set if Y >> 8 is above 127                                       |
 * | 16U    | 16U             | Y >> 8                                                           |
 * | 16U    | 8U, pixel order | Y >> 16                                                          |
 * | 16U    | 8U, plane order | ((109 R >> 16) + (366 G >> 16) + (37 B >> 16)) >> 1              |
 * | 16U    | 1U              | set if Y >> 8 is above 32767                                     |
 * | 32S    | 16U             | Z >> 13, with Z = 109 (R >> 11) + 366 (G >> 11) + 37 (B >> 11)   |
 * | 32S    | 8U              | Z >> 21                                                          |
 * | 32S    | 1U              | clear if 109 (R >> 10) + 366 (G >> 10) + 37 (B >> 10) < 0x20000000|
 *
 * The weights sum to 255, so that white of 8 bits gives 254.
 *
 * Compatible: the source's `colorModel` starts with "RGB"; a destination in pixel order has one
 * channel; equal `origin`.
 *
 * @par Reports
 * @ref dax_color_frame; the depths under the name `ownColorToGray`.
 *
 * @param srcImage the colour image
 * @param dstImage the gray image
 * @param tilePos  @ref dax_tilepos_index "tile index", or null
 */
DAX_API void daxColorToGray(DaxImage* srcImage, DaxImage* dstImage, const int32_t* tilePos);

/**
 * A colour image of a gray one: each colour is gray times its weight. Nothing is clamped, so
 * weights above 1 wrap. If all three weights are 0 the default weights are used, those of ITU-R
 * BT.709: 0.212671, 0.715160, 0.072169 on #DAX_DEPTH_32S; 109, 366, 37 of 512 on #DAX_DEPTH_16U;
 * 54, 183, 18 of 256 otherwise. For equal channels give all three weights as 1.
 *
 * Weights are cut to 15 fraction bits on #DAX_DEPTH_16U and to 8 on #DAX_DEPTH_8U; products are
 * truncated.
 *
 * Compatible: the destination's `colorModel` starts with "RGB"; equal depths, or #DAX_DEPTH_1U to
 * #DAX_DEPTH_8U, where a set bit counts as 255; a source in pixel order has one channel; equal
 * `origin`. Depths: #DAX_DEPTH_8U, #DAX_DEPTH_16U, #DAX_DEPTH_32S.
 *
 * @par Reports
 * @ref dax_color_frame; the depths under the name `ownGrayToColor`.
 *
 * @param srcImage the gray image
 * @param dstImage the colour image
 * @param fractR   the weight of red
 * @param fractG   the weight of green
 * @param fractB   the weight of blue
 * @param tilePos  @ref dax_tilepos_index "tile index", or null
 */
DAX_API void daxGrayToColor(DaxImage* srcImage, DaxImage* dstImage, float fractR, float fractG,
                            float fractB, const int32_t* tilePos);

/**
 * Reduces the depth of an image, with noise if wanted, and then reduces the result to a number of
 * levels with a dither if wanted.
 *
 * *Reduction.* Shifts right:
 *
 * | Source | Destination | Without jitter                                | With jitter       |
 * |--------|-------------|-----------------------------------------------|-------------------|
 * | 32S    | 16U         | by 16                                         | by 15             |
 * | 32S    | 8U          | by 23, negative results become 0              | by 23             |
 * | 16U    | 8U          | by 8                                          | by 8              |
 * | 8U     | 1U          | set if above 127                              | set if above 127  |
 *
 * *Jitter.* With `jitterType` J from 1 to 8, each sample is first moved by noise of up to J steps
 * of the result, and what would leave the range keeps its value; samples near the upper limit stay
 * as they are. The noise comes from tables that each call fills from the C library's `rand()`. The
 * *source image is changed*: the noisy values are written back to it.
 *
 * *Dither*, in place on the destination, of #DAX_DEPTH_8U or #DAX_DEPTH_16U. It keeps levels that
 * are 255 (65535) shifted right by `levelBits` apart, at least 1; so 0 gives two levels. A sample
 * goes to the nearer level, in the middle to the lower one. A destination whose `channelSeq` starts
 * with "G" is one channel; otherwise the channels R, G and B are dithered one after the other.
 *
 * - #DAX_DITHER_FS: 7, 3, 5 and 1 sixteenths of the error, added in the width of a sample,
 *   wrapping.
 * - #DAX_DITHER_JJN, #DAX_DITHER_STUCKI: the weights, scaled to 8 (16) bits, times the error are
 *   added without a division, wrapping, and near the left edge they are shifted against their
 *   places. Strong patterns appear.
 * - #DAX_DITHER_BAYER: the thresholds are the matrix entries times the distance of levels, so only
 *   at the matrix's zero entry is a sample above its level ever raised.
 *
 * ROIs are not honoured. The images may differ in size: the plain reduction of images in memory
 * takes the smaller ones; with tiles, jitter or dither the whole destination is written, and what
 * lies beyond the source follows its border settings. A tiled source is only read, also with
 * jitter.
 *
 * @par Reports
 * All with status #DAX_StatusBadArgument, in this order:
 * 1. `daxReduceBits`, `daxcolor`: `(0>jitterType)||(jitterType>8)`; the headers
 * 2. `daxReduceBits`, `owncolor`: `null_image_pointer`, `null_data_pointer`
 * 3. `daxReduceBits`, `daxcolor`: `incomatibleimages`, when the working channel counts, `dataOrder`
 *    or `origin` differ
 * 4. `ownReduceBits`, or with jitter `ownjitter_rect`, `owncolor`: `errInOutDepth` for a source of
 *    another depth, `errOutDepth` for a destination that doesn't go with the source
 * 5. `own_dither_rect`, `owncolor`: `errInDepth` for a destination of another depth,
 *    `errDitherOption`
 *
 * @par Tiles
 * As in @ref dax_color_frame; places in the dither count from the corner of each tile.
 *
 * @param srcImage     the source; changed if `jitterType` isn't 0
 * @param dstImage     the destination
 * @param jitterType   amplitude of the noise, 0 to 8; 0 for none
 * @param ditherOption one of the `DAX_DITHER_...` values
 * @param levelBits    bits of level that the dither keeps; below 0 counts as 0, and more than the
 *                     destination has as half of what it has
 * @param tilePos      @ref dax_tilepos_index "tile index", or null
 */
DAX_API void daxReduceBits(DaxImage* srcImage, DaxImage* dstImage, int32_t jitterType,
                           int32_t ditherOption, int32_t levelBits, const int32_t* tilePos);

/**
 * Makes a colour twist.
 *
 * @par Reports
 * `daxCreateColorTwist`, `daxtwist`; the result is null then: `bad_argument` for a null `data` or a
 * `scalingValue` out of range; with status #DAX_StatusOutOfMemory `out_of_memory`.
 *
 * @param data         16 elements, row by row; copied
 * @param scalingValue 0 to 31
 * @return the twist, for daxDeleteColorTwist(), or null
 */
DAX_API DaxColorTwist* daxCreateColorTwist(const int32_t* data, int32_t scalingValue);

/**
 * Refills a colour twist.
 *
 * @par Reports
 * `daxSetColorTwist`, `daxtwist`, in this order: `cTwist==0`; `(data == 0)`; `(scalingValue < 0)`;
 * `(scalingValue > 31)`.
 *
 * @param cTwist       the twist
 * @param data         16 elements, row by row; copied
 * @param scalingValue 0 to 31
 */
DAX_API void daxSetColorTwist(DaxColorTwist* cTwist, const int32_t* data, int32_t scalingValue);

/** Frees a colour twist. @param cTwist the twist; null is ignored */
DAX_API void daxDeleteColorTwist(DaxColorTwist* cTwist);

// clang-format off
/**
 * Applies a colour twist: of the first three channels c0, c1, c2 of a pixel, in the order in which
 * they lie in the image (`channelSeq` isn't read), each result k is
 *
 *     (data[4k] c0 + data[4k + 1] c1 + data[4k + 2] c2 + data[4k + 3]) / 2 to the scalingValue
 *
 * limited to 0 .. 255 or 0 .. 65535; then `offset` is added and the sum limited again. Depths:
 * #DAX_DEPTH_8U and #DAX_DEPTH_16U. A fourth channel of the destination isn't written. `coi` isn't
 * looked at. Rectangle: @ref dax_regions_rect. In-place calls work.
 *
 * Images of 3 channels are worked in integers where the twist allows it: `scalingValue` below 16,
 * `offset` within the signed range of the depth, weights of 16 bits, and sums that fit 32 bits.
 * There the division rounds towards minus infinity; everywhere else it is done in double precision
 * and truncated.
 *
 * @par Reports
 * `daxApplyColorTwist`, `daxtwist`, in this order:
 * 1. the headers; `cTwist==0`
 * 2. `(srcImage->nChannels < 3)`,
 *    `((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))`,
 *    `((srcImage->alphaChannel != 0) && (srcImage->alphaChannel < srcImage->nChannels))`, and the
 *    same three with `dstImage`
 * 3. `(srcImage->depth != dstImage->depth)`, `((srcImage->depth != 8) && (srcImage->depth != 16))`,
 *    `(srcImage->dataOrder != dstImage->dataOrder)`, `(srcImage->origin != dstImage->origin)`
 * 4. a mapped tile that doesn't meet the rectangle, in its rows
 *    `(((Mapping->yDst - Mapping->yDst % height_tile_d + height_tile_d) <= coord_Y_dst) || ((Mapping->yDst - Mapping->yDst % height_tile_d) >= max_Y))`,
 *    in its columns
 *    `(((Mapping->xDst - Mapping->xDst % width_tile_d + width_tile_d) <= coord_X_dst) || ((Mapping->xDst - Mapping->xDst % width_tile_d) >= max_X))`
 * 5. a tile that can't be had: `(dstImage->tileInfo->tileData == NULL)`,
 *    `(srcImage->tileInfo->tileData == NULL)`
 *
 * @par Silent
 * An empty rectangle.
 *
 * @par Tiles
 * Either image, or both; one tile of each is held, as long as the walk stays in it. With a mapping,
 * the source's position follows the tile.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param cTwist   the twist
 * @param offset   added to every result
 * @param mapping  a pixel of a tiled destination, or null
 */
DAX_API void daxApplyColorTwist(DaxImage* srcImage, DaxImage* dstImage, const DaxColorTwist* cTwist,
                                int32_t offset, const DaxMapping* mapping);
// clang-format on

/** @} */

/**
 * @defgroup dax_alpha Compositing
 * The operators of Porter and Duff, and products in which full scale stands for 1.
 *
 * Depths: #DAX_DEPTH_8U and #DAX_DEPTH_16U, all images of a call alike. X is full scale: 255 on 8
 * bits, 65535 on 16 bits. m(x, y) is the product of two samples over full scale, x times y / X,
 * rounded down; so m(X, y) is y.
 *
 * ROIs must lie inside their images, at least with their first pixel. Each image is worked from the
 * corner of its own ROI, over the smallest width and height, but no more than 99999 columns and
 * rows. With a `coi` in the destination's ROI one channel is worked, each image's own; a `coi` of a
 * source is ignored when the destination has a ROI without one.
 *
 * The checks have names and texts of their own: @ref dax_checks_full. The module is `daxalpha`.
 *
 * @par Tiles of the group
 * Any of the images may be tiled. Work goes rectangle by rectangle over the tiles of the first
 * tiled image, the destination's before the sources'. Where a rectangle lies across several tiles
 * of another image, they are requested one by one and copied together; *all of them are held until
 * the rectangle is done*, so that the tile access function must be able to serve several tiles at a
 * time. At the release of each, `tileData` holds the pointer that it delivered for that tile. They
 * are copied with daxCopy(), which does nothing while the status is negative. When a tile, or
 * memory for the copy, can't be had: status #DAX_StatusUnknownError, `ERROR in Tiling callBack`;
 * what is held is released.
 * @{
 */

/** @name compositeType
 * @{
 */
#define DAX_COMPOSITE_OVER 0 /**< A over B */
#define DAX_COMPOSITE_IN 1   /**< A in B */
#define DAX_COMPOSITE_OUT 2  /**< A held out by B */
#define DAX_COMPOSITE_ATOP 3 /**< A atop B */
#define DAX_COMPOSITE_XOR 4  /**< A xor B */
#define DAX_COMPOSITE_PLUS 5 /**< A plus B */
/** @} */

// clang-format off
/**
 * Composes two images with opacities per pixel. With a and b the opacities of A and B as fractions,
 * and A', B' the colours times their opacity, or as they are if `premulAlpha` is 1:
 *
 * | Operator | Colour                    | Opacity                   |
 * |----------|---------------------------|---------------------------|
 * | over     | A' + B' (1 - a)           | a + b (1 - a)             |
 * | in       | A' b                      | a b                       |
 * | out      | A' (1 - b)                | a (1 - b)                 |
 * | atop     | A' b + B' (1 - a)         | b                         |
 * | xor      | A' (1 - b) + B' (1 - a)   | a (1 - b) + b (1 - a)     |
 * | plus     | A' + B'                   | a + b                     |
 *
 * Sums are limited to X. The last bit depends on the tier that runs:
 *
 * - *Floating*, if `divideMode` is 1: in double precision, and colours are divided by the resulting
 *   opacity, unless it is next to 0. Stored rounded to nearest. On 8 bits full opacity is very
 *   slightly more than 1.
 * - *Packed*, if all images that take part are in plane order: each product of the table is an m(),
 *   with the complement X - a or X - b as a factor.
 * - *Integer*, otherwise: each product with a complement is a difference: B' - m(B', a).
 *
 * Where the opacities come from:
 *
 * | Argument        | Null                                          | Given                           |
 * |-----------------|-----------------------------------------------|---------------------------------|
 * | `alphaImageA`   | channel `alphaChannel` of `srcImageA`         | its channel `alphaChannel`, or 1 |
 * | `alphaImageB`   | X - a, if `alphaImageA` is given; otherwise channel `alphaChannel` of `srcImageB` | its channel `alphaChannel`, or 1 |
 * | `alphaImageDst` | written to channel `alphaChannel` of `dstImage`, or nowhere if that is 0 | written to its channel `alphaChannel` |
 *
 * The destination's alpha channel receives no colour, unless the `coi` names it. The opacity is
 * written while the first channel is worked, and isn't written if that is the alpha channel itself,
 * except in the packed tier. An alpha channel has to be the last channel of its image.
 *
 * @par In place
 * The destination may be a source with the same region. Where the opacity of the result is written
 * over one that is read, the channels that are worked after it see the new one: all of them in the
 * packed tier, all but the first in the others. In place of B, over, atop and plus of premultiplied
 * colours, undivided, give what they give in an image apart.
 *
 * @par Reports
 * `daxAlphaComposite`, `daxalpha`, in this order:
 * 1. @ref dax_checks_full of `dstImage`, `srcImageA`, `srcImageB`
 * 2. `dstImage->depth != 8 && dstImage->depth != 16`, `srcImageA->depth != dstImage->depth`,
 *    `srcImageB->depth != dstImage->depth`
 * 3. without `alphaImageA`: `srcImageA->alphaChannel < 1`,
 *    `srcImageA->alphaChannel > srcImageA->nChannels`; with it, its full check and
 *    `alphaImageA->depth != dstImage->depth`
 * 4. without both alpha images: `srcImageB->alphaChannel < 1`,
 *    `srcImageB->alphaChannel > srcImageB->nChannels`; with `alphaImageB`, its full check and
 *    `alphaImageB->depth != dstImage->depth`
 * 5. with `alphaImageDst`: its full check, `alphaImageDst->depth != dstImage->depth`,
 *    `alphaImageDst->alphaChannel < 1`, `alphaImageDst->alphaChannel > alphaImageDst->nChannels`
 * 6. for `srcImageA`, then `srcImageB`: `dstImage->roi->coi > 0 && srcImageA->roi == 0`,
 *    `dstImage->roi->coi > 0 && srcImageA->roi->coi == 0`,
 *    `srcImageA->roi->coi > 0 && dstImage->roi == 0`
 * 7. `srcImageA->alphaChannel > 0 && srcImageA->alphaChannel != srcImageA->nChannels`, and the same
 *    with `srcImageB` and `dstImage`
 * 8. without a `coi` in the destination:
 *    `(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))`,
 *    and the same with `srcImageB`
 * 9. `compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && compositeType != 4 && compositeType != 5`,
 *    `premulAlpha != 0 && premulAlpha != 1`, `divideMode != 0 && divideMode != 1`
 *
 * @param srcImageA     the image A
 * @param srcImageB     the image B
 * @param dstImage      the destination
 * @param compositeType one of the `DAX_COMPOSITE_...` values
 * @param alphaImageA   an image with the opacity of A, or null
 * @param alphaImageB   an image with the opacity of B, or null
 * @param alphaImageDst an image that receives the opacity of the result, or null
 * @param premulAlpha   1 if the colours of A and B carry their opacity already, otherwise 0
 * @param divideMode    1 to divide the colours by the opacity of the result, otherwise 0
 * @param tilePos       @ref dax_tilepos_pixel "pixel position", or null
 */
DAX_API void daxAlphaComposite(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                               int32_t compositeType, DaxImage* alphaImageA, DaxImage* alphaImageB,
                               DaxImage* alphaImageDst, int32_t premulAlpha, int32_t divideMode,
                               const int32_t* tilePos);
// clang-format on

/**
 * Composes two images with constant opacities. The operators are those of daxAlphaComposite(), in
 * the floating tier if `divideMode` is 1 and in the integer tier otherwise. No opacity is written:
 * the destination's alpha channel stays as it was. In-place calls work.
 *
 * @par Reports
 * `daxAlphaCompositeC`, `daxalpha`: as in daxAlphaComposite(), without the tests of alpha images;
 * those of `srcImageA->alphaChannel` (3.) and `srcImageB->alphaChannel` (4.) are made only for a
 * negative constant.
 *
 * @param srcImageA     the image A
 * @param srcImageB     the image B
 * @param dstImage      the destination
 * @param compositeType one of the `DAX_COMPOSITE_...` values
 * @param alphaA        the opacity of A, 0 to X; more counts as X; a negative value takes it per
 *                      pixel from the channel `alphaChannel` of `srcImageA`
 * @param alphaB        the opacity of B, alike
 * @param premulAlpha   1 if the colours of A and B carry their opacity already, otherwise 0
 * @param divideMode    1 to divide the colours by the opacity of the result, otherwise 0
 * @param tilePos       @ref dax_tilepos_pixel "pixel position", or null
 */
DAX_API void daxAlphaCompositeC(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                                int32_t compositeType, int32_t alphaA, int32_t alphaB,
                                int32_t premulAlpha, int32_t divideMode, const int32_t* tilePos);

/**
 * Multiplies the colours of an image by its opacity, in place: x becomes m(x, a). With a constant,
 * x becomes m(x, `alpha`), and the alpha channel, if there is one, is set to `alpha`. With a `coi`
 * only that channel is worked; otherwise all but the alpha channel.
 *
 * @par Reports
 * `daxPreMultiplyAlpha`, `daxalpha`, in this order: @ref dax_checks_full of `image`;
 * `image->depth != 8 && image->depth != 16`;
 * `image->alphaChannel > 0 && image->alphaChannel != image->nChannels`; with a negative `alpha`
 * `image->alphaChannel < 1`, `image->alphaChannel > image->nChannels`.
 *
 * @param image   the image
 * @param alpha   a constant from 0 to X, more counts as X; a negative value stands for each pixel's
 *                own alpha channel
 * @param tilePos @ref dax_tilepos_pixel "pixel position", or null
 */
DAX_API void daxPreMultiplyAlpha(DaxImage* image, int32_t alpha, const int32_t* tilePos);

/**
 * Product over full scale of two images: dst = m(A, B). The alpha channel is multiplied like the
 * others. Data orders may differ. In-place calls work.
 *
 * @par Reports
 * `daxMultiplyScale`, `daxalpha`, in this order: @ref dax_checks_full of `dstImage`, `srcImageA`,
 * `srcImageB`; the texts of daxAlphaComposite() for depths (2.) and `coi` (6.); without a `coi` in
 * the destination `srcImageA->nChannels != dstImage->nChannels`,
 * `srcImageB->nChannels != dstImage->nChannels`.
 *
 * @param srcImageA the first source
 * @param srcImageB the second source
 * @param dstImage  the destination
 * @param tilePos   @ref dax_tilepos_pixel "pixel position", or null
 */
DAX_API void daxMultiplyScale(DaxImage* srcImageA, DaxImage* srcImageB, DaxImage* dstImage,
                              const int32_t* tilePos);

/**
 * Product over full scale with a constant: dst = m(A, `value`). The alpha channel is multiplied
 * like the others. Data orders may differ. In-place calls work.
 *
 * @par Reports
 * `daxMultiplySScale`, `daxalpha`, in this order: @ref dax_checks_full of `dstImage`, `srcImage`;
 * `dstImage->depth != 8 && dstImage->depth != 16`; `srcImage->depth != dstImage->depth`;
 * `dstImage->roi->coi > 0 && srcImage->roi == 0`;
 * `dstImage->roi->coi > 0 && srcImage->roi->coi == 0`;
 * `srcImage->roi->coi > 0 && dstImage->roi == 0`; without a `coi` in the destination
 * `srcImage->nChannels != dstImage->nChannels`.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param value    the constant, 0 to X; anything else, negative values too, counts as X
 * @param tilePos  @ref dax_tilepos_pixel "pixel position", or null
 */
DAX_API void daxMultiplySScale(DaxImage* srcImage, DaxImage* dstImage, int32_t value,
                               const int32_t* tilePos);

/** @} */

/**
 * @defgroup dax_tone Tone and statistics
 * Histograms, tone curves, threshold and norms.
 *
 * Histograms and curves are described by #DaxLUT records, one for each channel: the array `lut` is
 * indexed by the channel counting from 0. With a `coi` one channel is worked, with `lut[coi - 1]`;
 * otherwise all, alpha included, from `lut[0]` on.
 *
 * @section dax_lut_checks Checks of a DaxLUT
 * With k the index in the array and histSize the number of values that a sample of the depth can
 * have (2, 256 or 65536), in this order: `lut[k]==0`, `lut[k]->key==0`, `lut[k]->value==0`,
 * `lut[k]->num < 2`, `lut[k]->key[0] < 0`, `lut[k]->key[lut[k]->num-1] > histSize`,
 * `lut[k]->key[i] > lut[k]->key[i+1]`.
 * @{
 */

/**
 * A histogram or a tone curve over intervals of sample values. The caller owns the record and its
 * arrays. Interval i covers the values from `key[i]` to `key[i + 1] - 1`, so `num` keys bound
 * `num - 1` intervals.
 */
typedef struct DaxLUT {
    int32_t num;          /**< entries of `key` and `value`, at least 2 */
    int32_t* key;         /**< limits of the intervals, rising, from 0 to the number of values */
    int32_t* value;       /**< histogram: count of interval i; curve: output at `key[i]` */
    int32_t* factor;      /**< curve: slope of interval i; read only if `interpolated` isn't 0 */
    int32_t interpolated; /**< curve: 0 for constant intervals, anything else for sloping ones */
} DaxLUT;

/** @name normType
 * What daxNorm() measures.
 * @{
 */
#define DAX_NORM_MAX 1      /**< the largest absolute value */
#define DAX_NORM_SUM 2      /**< the sum of absolute values */
#define DAX_NORM_L2 4       /**< the square root of the sum of squares */
#define DAX_NORM_RELATIVE 8 /**< added to these: over the same norm of the second image */
#define DAX_NORM_MAX_REL 9  /**< #DAX_NORM_MAX, relative */
#define DAX_NORM_SUM_REL 10 /**< #DAX_NORM_SUM, relative */
#define DAX_NORM_L2_REL 12  /**< #DAX_NORM_L2, relative */
/** @} */

/**
 * Counts the samples of an image: `value[i]`, for i up to `num` - 2, becomes the number of samples
 * in interval i, and `interpolated` becomes 0. `value[num - 1]` isn't written. Samples outside of
 * all intervals count nowhere. Counters of 32 bits wrap. Depths: #DAX_DEPTH_1U, #DAX_DEPTH_8U,
 * #DAX_DEPTH_16U. Region: the ROI, cut to the image.
 *
 * @par Reports
 * `daxComputeHisto`, `daxHist`: the header; `lut==0` and `srcImage->depth & DAX_DEPTH_SIGN`, both
 * tested, then the status is read; @ref dax_lut_checks; status #DAX_StatusOutOfMemory with an empty
 * text. A tile that can't be had: status #DAX_StatusUnknownError, `Error get tile to read`.
 *
 * @par Tiles
 * Tiles are requested for reading, tile rows outermost. If `tilePos` lies outside the region,
 * nothing is counted, and the counts become 0.
 *
 * @param srcImage the image
 * @param lut      an array of pointers, one for each channel
 * @param tilePos  @ref dax_tilepos_copy "tile index of the copying family", in the source; or null
 */
DAX_API void daxComputeHisto(DaxImage* srcImage, DaxLUT* const* lut, const int32_t* tilePos);

/**
 * Maps the samples of an image through a curve. A value x in interval i becomes `value[i]`, or with
 * `interpolated` `value[i] + (x - key[i]) * factor[i]`; the low 8 or 16 bits are stored, without a
 * clamp. Depths: #DAX_DEPTH_8U and #DAX_DEPTH_16U.
 *
 * What else is to be known of the curve:
 * - The last entry is a curve piece, too: from `key[num - 1]` on, `value[num - 1]` and
 *   `factor[num - 1]` count, up to the largest value of the depth.
 * - Values x below `key[0]` become x - 1, and 0 has no dependable result. Let `key[0]` be 0.
 * - On #DAX_DEPTH_16U slopes count from the *output* value:
 *   `value[i] + (x - value[i]) * factor[i]`.
 * - On #DAX_DEPTH_16U with a `coi` the curve is that of `lut[0]`, though `lut[coi - 1]` is the one
 *   that is checked.
 * - Of equal neighbouring keys the first is used, and no key behind it.
 * - `factor` isn't tested for null.
 *
 * Region: the smaller of the two ROIs, cut to the images. In-place calls work.
 *
 * @par Reports
 * `daxContrastStretch`, `daxHist`: the headers; the texts of @ref dax_checks_copy;
 * `srcImage->depth != DAX_DEPTH_8U && srcImage->depth != DAX_DEPTH_16U` and `lut==0`, both tested,
 * then the status is read; @ref dax_lut_checks for the source's channels; status
 * #DAX_StatusOutOfMemory with an empty text. A tile that can't be had is reported under the name
 * `daxMap` with status #DAX_StatusUnknownError, `Error get tile to write` or
 * `Error get tile to read`, and then under this function's name with status #DAX_StatusBacktrace
 * and an empty text.
 *
 * @par Silent
 * Different numbers of selected channels; an empty rectangle; `tilePos` outside the region.
 *
 * @par Tiles
 * As in daxCopy(), with what is told there of `roi`.
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param lut      an array of pointers, one for each channel of the source
 * @param tilePos  @ref dax_tilepos_copy "tile index of the copying family", or null
 */
DAX_API void daxContrastStretch(DaxImage* srcImage, DaxImage* dstImage, DaxLUT* const* lut,
                                const int32_t* tilePos);

/**
 * Equalizes an image by a histogram that the caller supplies, of this image or of another one. The
 * histogram is spread over all values of the depth; a value x becomes its running sum up to x,
 * times 255 (65535), divided by the total, truncated. The product wraps at 32 bits, so on
 * #DAX_DEPTH_16U totals from 32769 on aren't dependable, and on #DAX_DEPTH_8U totals from 8421505
 * on. Depths: #DAX_DEPTH_8U and #DAX_DEPTH_16U.
 *
 * The count of an interval of d values is spread in a peculiar way: all cells but the last take
 * count / d, and the last takes the remainder count modulo d alone. Intervals of a single value are
 * exact: with `num` one above the number of values, and `key[i]` equal to i, the result is the
 * usual equalization.
 *
 * After the call `value` holds the histogram of the result, worked out from the curve and not
 * counted, in the records of the *destination's* channels.
 *
 * Region and in-place calls as in daxContrastStretch().
 *
 * @par Reports
 * `daxHistoEqualize`, `daxHist`: as in daxContrastStretch(). For a histogram of zeroes status
 * #DAX_StatusInternalError, `All values in histogram are zeroes`, and nothing is written.
 *
 * @par Silent and Tiles
 * As in daxContrastStretch().
 *
 * @param srcImage the source
 * @param dstImage the destination
 * @param lut      an array of pointers, one for each channel; `value` is read and written
 * @param tilePos  @ref dax_tilepos_copy "tile index of the copying family", or null
 */
DAX_API void daxHistoEqualize(DaxImage* srcImage, DaxImage* dstImage, DaxLUT* const* lut,
                              const int32_t* tilePos);

/**
 * Compares each sample with a threshold: below it the result is the lowest value of the depth,
 * otherwise the highest: 0 and 255 on #DAX_DEPTH_8U, -128 and 127 on #DAX_DEPTH_8S, and so on. The
 * threshold isn't limited to the depth. All depths but #DAX_DEPTH_1U. In-place calls work.
 *
 * Rectangle: @ref dax_regions_rect.
 *
 * @par Reports
 * `daxThreshold`, `daxthres`, in this order: the headers; `(srcImage->depth!=dstImage->depth)`;
 * `(srcImage->dataOrder!=dstImage->dataOrder)`; `(srcImage->depth==1)`; tiles and `tilePos` as in
 * @ref dax_tiles_walk; `The fields of ROI has error`, for a ROI that ends before its image begins;
 * `The mismath of number channels`, for different numbers of selected channels.
 *
 * @par Tiles
 * @ref dax_tiles_walk.
 *
 * @param srcImage  the source
 * @param dstImage  the destination
 * @param threshold the lowest value that becomes high
 * @param tilePos   @ref dax_tilepos_walk "tile index", or null
 */
DAX_API void daxThreshold(DaxImage* srcImage, DaxImage* dstImage, int32_t threshold,
                          const int32_t* tilePos);

/**
 * Measures an image, or the difference of two.
 *
 * | `normType`        | One image       | Two images                                           |
 * |-------------------|-----------------|------------------------------------------------------|
 * | #DAX_NORM_MAX     | largest abs(a)  | largest abs(a - b)                                   |
 * | #DAX_NORM_SUM     | sum of abs(a)   | sum of abs(a - b)                                    |
 * | #DAX_NORM_L2      | root of sum a^2 | root of sum (a - b)^2                                |
 * | #DAX_NORM_MAX_REL | -1.0            | largest abs(a - b) over largest abs(b)               |
 * | #DAX_NORM_SUM_REL | -1.0            | sum of abs(a - b) over sum of abs(b)                 |
 * | #DAX_NORM_L2_REL  | -1.0            | root of sum (a - b)^2 over root of sum b^2           |
 *
 * All six depths. Both images must have the same `coi`; without one all channels are measured,
 * alpha included. Differences and absolute values are formed in 32 bits and wrap there, so a sample
 * or difference of -2147483648 stays negative. Sums are kept in double precision.
 *
 * Results other than #DAX_NORM_MAX of one image and #DAX_NORM_MAX_REL are limited to the largest
 * 32-bit float, about 3.4e38. A denominator below the smallest normal 32-bit float, about 1.2e-38,
 * has that added to it, so a denominator of 0 gives a very large number. On #DAX_DEPTH_32S the
 * largest value of one image is kept as a 32-bit float.
 *
 * On #DAX_DEPTH_1U a difference is the exclusive or, sums count the set bits, `coi` isn't used, and
 * the two MAX norms are those of the *bottom row*: 1.0 if it has a set bit and 0.0 otherwise.
 *
 * Region: the smaller of the two, from each image's own corner; but if the ROI of `srcImageA` runs
 * past the right edge, its width becomes the image's height minus `yOffset`. Let it lie inside.
 *
 * @par Reports
 * `daxNorm`, `daxnorm`; the result is 0.0 then: `normType unknown`; the header of `srcImageA`; with
 * `srcImageB` its header, `(srcImageA->depth!=srcImageB->depth)`, `(coiA!=coiB)`.
 *
 * @par Silent
 * The result is -1.0 for a relative norm of one image, and when memory can't be had.
 *
 * @par Tiles
 * Either image, or both: their regions are gathered first, with reading requests.
 *
 * @param srcImageA the image
 * @param srcImageB the image to compare with, or null
 * @param normType  one of the `DAX_NORM_...` values
 * @return the figure; 0.0 or -1.0 for a failure
 */
DAX_API double daxNorm(DaxImage* srcImageA, DaxImage* srcImageB, int32_t normType);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
