// Whole files. Every failure throws std::runtime_error with one clear line that names the file.
#ifndef EXAMPLES_COMMON_FILE_H
#define EXAMPLES_COMMON_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

[[noreturn]] void failFile(const std::string& path, const std::string& why);

// Never empty, and at most 1 GB.
Bytes readFile(const std::string& path);

void writeFile(const std::string& path, const Bytes& bytes);

#endif
