/* Adds two pictures of one row, in 8 bits, and makes the library report an error. */

#include <daxlib.h>

#include <stdio.h>
#include <string.h>

static DaxImage* picture(int32_t value) {
    DaxImage* image = daxCreateImageHeader(1, 0, DAX_DEPTH_8U, "GRAY", "GRAY", DAX_DATA_PIXEL,
                                           DAX_ORIGIN_TOP_LEFT, 8, 1, 100, NULL, 0, NULL);
    if (image != NULL) daxAllocateImage(image, value);
    return image;
}

int main(void) {
    DaxImage* a = picture(200);
    DaxImage* b = picture(50);
    DaxImage* sum = picture(0);
    int right = a != NULL && b != NULL && sum != NULL && sum->imageData != NULL;
    if (right) {
        unsigned char expected[100];
        memset(expected, 250, sizeof expected);
        daxAdd(a, b, sum, NULL);
        right = daxGetErrStatus() == DAX_StatusNoError &&
                memcmp(sum->imageData, expected, sizeof expected) == 0;
        memset(expected, 255, sizeof expected);
        daxAdd(sum, b, sum, NULL);
        right = right && memcmp(sum->imageData, expected, sizeof expected) == 0;
        daxSetErrMode(DAX_ErrModeSilent);
        daxRedirectError(daxNulDevReport);
        daxAdd(a, b, NULL, NULL);
        right = right && daxGetErrStatus() == DAX_StatusBadArgument;
    }
    daxDeallocate(a, DAX_IMAGE_ALL);
    daxDeallocate(b, DAX_IMAGE_ALL);
    daxDeallocate(sum, DAX_IMAGE_ALL);
    printf("%s %s\n", daxGetLibVersion()->versionText, right ? "works" : "FAILS");
    return right ? 0 : 1;
}
