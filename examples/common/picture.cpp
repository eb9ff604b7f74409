#include "picture.h"

#include "file.h"

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

#include <png.h>

#include <jpeglib.h>

#include <jerror.h>

namespace {

void refuseHuge(const std::string& path, size_t width, size_t height, size_t atMost) {
    if (width == 0 || height == 0) failFile(path, "the picture has no pixels");
    if (width <= atMost && height <= atMost / width) return;
    failFile(path, "the picture is too large: " + std::to_string(width) + " x " +
                       std::to_string(height) + " pixels");
}

Picture readPng(const std::string& path, const Bytes& bytes, size_t atMost) {
    struct Reader : png_image {
        Reader() : png_image() { version = PNG_IMAGE_VERSION; }
        ~Reader() { png_image_free(this); }
    } reader;
    if (png_image_begin_read_from_memory(&reader, bytes.data(), bytes.size()) == 0)
        failFile(path, std::string("the PNG can't be read: ") + reader.message);
    refuseHuge(path, reader.width, reader.height, atMost);
    reader.format = PNG_FORMAT_RGB;
    Picture picture =
        blankPicture(static_cast<int>(reader.width), static_cast<int>(reader.height), 3);
    const png_color white = {255, 255, 255};
    if (png_image_finish_read(&reader, &white, picture.samples.data(), 0, nullptr) == 0)
        failFile(path, std::string("the PNG can't be read: ") + reader.message);
    return picture;
}

// libjpeg leaves a function that fails by a jump, so the functions that it is called from own
// nothing.
struct Jpeg {
    jpeg_error_mgr errors;
    std::jmp_buf escape;
    char message[JMSG_LENGTH_MAX];
};

[[noreturn]] void onJpegError(j_common_ptr info) {
    auto* const jpeg = static_cast<Jpeg*>(info->client_data);
    info->err->format_message(info, jpeg->message);
    std::longjmp(jpeg->escape, 1);
}

// libjpeg goes on after damaged data, with gray where it knows nothing.
void onJpegMessage(j_common_ptr info, int level) {
    if (level >= 0) return;
    switch (info->err->msg_code) {
    case JWRN_ARITH_BAD_CODE:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_JPEG_EOF:
    case JWRN_MUST_RESYNC: onJpegError(info);
    default: break;
    }
}

void prepare(Jpeg& jpeg) {
    jpeg_std_error(&jpeg.errors);
    jpeg.errors.error_exit = onJpegError;
    jpeg.errors.emit_message = onJpegMessage;
    jpeg.message[0] = '\0';
}

struct JpegReader : Jpeg {
    jpeg_decompress_struct info = {};
    JpegReader() {
        prepare(*this);
        info.err = &errors;
        info.client_data = static_cast<Jpeg*>(this);
    }
    ~JpegReader() { jpeg_destroy_decompress(&info); }
};

bool readHeader(JpegReader& reader, const Bytes& bytes) {
    if (setjmp(reader.escape) != 0) return false;
    jpeg_create_decompress(&reader.info);
    jpeg_mem_src(&reader.info, bytes.data(), bytes.size());
    jpeg_read_header(&reader.info, TRUE);
    const bool inks = reader.info.num_components == 4;
    reader.info.out_color_space = inks ? JCS_CMYK : JCS_RGB;
    return true;
}

// Rows of four inks are wider than the picture's, so they go through `row`.
bool readRows(JpegReader& reader, Picture& picture, uint8_t* row) {
    if (setjmp(reader.escape) != 0) return false;
    jpeg_start_decompress(&reader.info);
    while (reader.info.output_scanline < reader.info.output_height) {
        uint8_t* const to = picture.row(static_cast<int>(reader.info.output_scanline));
        JSAMPROW rows[1] = {reader.info.output_components == 3 ? to : row};
        jpeg_read_scanlines(&reader.info, rows, 1);
        if (rows[0] == to) continue;
        for (int x = 0; x < picture.width; ++x) {
            // As almost every program writes them: 255 is no ink.
            const uint8_t* const ink = row + 4 * x;
            for (int c = 0; c < 3; ++c) to[3 * x + c] = static_cast<uint8_t>(ink[c] * ink[3] / 255);
        }
    }
    jpeg_finish_decompress(&reader.info);
    return true;
}

Picture readJpeg(const std::string& path, const Bytes& bytes, size_t atMost) {
    JpegReader reader;
    if (!readHeader(reader, bytes))
        failFile(path, std::string("the JPEG can't be read: ") + reader.message);
    refuseHuge(path, reader.info.image_width, reader.info.image_height, atMost);
    Picture picture = blankPicture(static_cast<int>(reader.info.image_width),
                                   static_cast<int>(reader.info.image_height), 3);
    std::vector<uint8_t> row(static_cast<size_t>(picture.width) * 4);
    if (!readRows(reader, picture, row.data()))
        failFile(path, std::string("the JPEG can't be read: ") + reader.message);
    return picture;
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

struct JpegWriter : Jpeg {
    jpeg_compress_struct info = {};
    JpegWriter() {
        prepare(*this);
        info.err = &errors;
        info.client_data = static_cast<Jpeg*>(this);
    }
    ~JpegWriter() { jpeg_destroy_compress(&info); }
};

bool writeRows(JpegWriter& writer, std::FILE* file, const Picture& picture, int quality) {
    if (setjmp(writer.escape) != 0) return false;
    jpeg_create_compress(&writer.info);
    jpeg_stdio_dest(&writer.info, file);
    writer.info.image_width = static_cast<JDIMENSION>(picture.width);
    writer.info.image_height = static_cast<JDIMENSION>(picture.height);
    writer.info.input_components = picture.channels;
    writer.info.in_color_space = picture.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&writer.info);
    jpeg_set_quality(&writer.info, quality, TRUE);
    writer.info.optimize_coding = TRUE;
    jpeg_start_compress(&writer.info, TRUE);
    while (writer.info.next_scanline < writer.info.image_height) {
        JSAMPROW rows[1] = {
            const_cast<uint8_t*>(picture.row(static_cast<int>(writer.info.next_scanline)))};
        jpeg_write_scanlines(&writer.info, rows, 1);
    }
    jpeg_finish_compress(&writer.info);
    return true;
}

} // namespace

Picture blankPicture(int width, int height, int channels) {
    Picture picture = {width, height, channels, {}};
    picture.samples.resize(picture.rowSize() * static_cast<size_t>(height));
    return picture;
}

Picture readPicture(const std::string& path, size_t atMost) {
    const Bytes bytes = readFile(path);
    if (bytes.size() >= 8 && png_sig_cmp(bytes.data(), 0, 8) == 0)
        return readPng(path, bytes, atMost);
    if (bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF)
        return readJpeg(path, bytes, atMost);
    failFile(path, "neither a PNG nor a JPEG file");
}

void writePng(const std::string& path, const Picture& picture) {
    png_image writer = {};
    writer.version = PNG_IMAGE_VERSION;
    writer.width = static_cast<png_uint_32>(picture.width);
    writer.height = static_cast<png_uint_32>(picture.height);
    writer.format = picture.channels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    writer.flags = PNG_IMAGE_FLAG_FAST;
    if (png_image_write_to_file(&writer, path.c_str(), 0, picture.samples.data(), 0, nullptr) == 0)
        failFile(path, std::string("can't be written: ") + writer.message);
}

void writeJpeg(const std::string& path, const Picture& picture, int quality) {
    std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "wb"));
    if (!file) failFile(path, std::string("can't be written: ") + std::strerror(errno));
    JpegWriter writer;
    if (!writeRows(writer, file.get(), picture, quality))
        failFile(path, std::string("can't be written: ") + writer.message);
    if (std::fclose(file.release()) != 0)
        failFile(path, std::string("can't be written: ") + std::strerror(errno));
}
