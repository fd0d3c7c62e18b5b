#pragma once

#include <string>

namespace nx::test {

/// What a DataBuffer must hold, written the slow way over std::string.
struct TextBufferModel {
    std::string content;
    long capacity = 4096;

    void insert(int position, const std::string& text, int count);
    int replace(const std::string& text, const std::string& replacement, long n, long count);
    int occurrences(const std::string& text) const;
    int indexOf(int start, const std::string& text) const;
};

}  // namespace nx::test
