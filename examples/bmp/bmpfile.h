// BMP files: a file header, and a bitmap as it lies in memory. Every failure throws
// std::runtime_error with one clear line that names the file.
#ifndef EXAMPLES_BMP_BMPFILE_H
#define EXAMPLES_BMP_BMPFILE_H

#include "common/dib.h"
#include "common/file.h"

#include <string>

bool isBmp(const Bytes& bytes);

// Bitmaps without compression, under any header that begins as the common one does, or under the
// old one of 12 bytes. Whatever the headers say, nothing outside the file's bytes is read. Opacity
// isn't kept.
Dib readBmp(const std::string& path, const Bytes& bytes);

void writeBmp(const std::string& path, const Dib& dib);

#endif
