/* Adds two pictures of a single colour and looks at the status. */
#include <daxlib.h>
#include <stdio.h>

static DaxImage* gray(int32_t value) {
    DaxImage* image = daxCreateImageHeader(1, 0, DAX_DEPTH_8U, "GRAY", "GRAY", DAX_DATA_PIXEL,
                                           DAX_ORIGIN_TOP_LEFT, 4, 480, 640, NULL, 0, NULL);
    daxAllocateImage(image, value);
    return image;
}

int main(void) {
    daxRedirectError(daxStdErrReport); /* reports go to standard error */
    daxSetErrMode(DAX_ErrModeParent);  /* and the program goes on      */
    DaxImage *a = gray(100), *b = gray(200), *sum = gray(0);
    daxAdd(a, b, sum, NULL);
    if (daxGetErrStatus() == DAX_StatusNoError)
        printf("100 + 200 = %d\n", *(unsigned char*)sum->imageData); /* 255: it saturates */
    daxDeallocate(a, DAX_IMAGE_ALL);
    daxDeallocate(b, DAX_IMAGE_ALL);
    daxDeallocate(sum, DAX_IMAGE_ALL);
    return daxGetErrStatus() != DAX_StatusNoError;
}
