#include "file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace {

constexpr size_t mostFileBytes = size_t{1} << 30;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

} // namespace

void failFile(const std::string& path, const std::string& why) {
    throw std::runtime_error(path + ": " + why);
}

Bytes readFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error) failFile(path, error.message());
    if (!std::filesystem::is_regular_file(status)) failFile(path, "not a file");
    const size_t size = std::filesystem::file_size(path, error);
    if (error) failFile(path, error.message());
    if (size > mostFileBytes) failFile(path, "the file is larger than 1 GB");
    const File file(std::fopen(path.c_str(), "rb"));
    if (!file) failFile(path, std::strerror(errno));
    Bytes bytes(size);
    if (size == 0 || std::fread(bytes.data(), 1, size, file.get()) != size)
        failFile(path, size == 0 ? "the file is empty" : "can't be read to its end");
    return bytes;
}

void writeFile(const std::string& path, const Bytes& bytes) {
    const auto fail = [&] {
        failFile(path, std::string("can't be written: ") + std::strerror(errno));
    };
    File file(std::fopen(path.c_str(), "wb"));
    if (!file) fail();
    if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) fail();
    if (std::fclose(file.release()) != 0) fail();
}
