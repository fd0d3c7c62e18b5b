// Resizes buffers with inline and with default storage, now and then with a failing allocation, and
// compares sizes and storage with the rules of growth; every element is written.
//
// Input: the bound, then operations, each a letter, the number of the allocation that fails, and a
// size.

#include <cstring>

#include <infra/oss/kelByteBuffer.h>
#include <infra/oss/kelSizeableBuffer.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"

namespace {

using nx::oss::ByteBuffer;
using nx::oss::DefaultAlternateBuffer;
using nx::oss::SizeableBuffer;

constexpr unsigned long INLINE = 512;
constexpr unsigned long DEFAULT = 24;
/// Beyond the largest size that there is.
constexpr unsigned long HUGE_SIZE = (1UL << 30) + 1;

unsigned long powerOfTwo(unsigned long size) {
    unsigned long power = 4;
    while (power < size) {
        power *= 2;
    }
    return power;
}

/// What a buffer with default storage must have.
struct Model {
    unsigned long bound;
    unsigned long defaultSize;
    unsigned long capacity = 0;
    unsigned long size = 0;

    void resize(unsigned long wanted, bool hasMemory) {
        if (wanted <= capacity) {
            size = wanted;
        } else if ((bound != 0 && wanted > bound) || (!hasMemory && wanted > defaultSize)) {
            capacity = size = 0;
        } else {
            capacity = wanted <= defaultSize ? defaultSize : powerOfTwo(wanted);
            size = wanted;
        }
    }
};

void compare(DefaultAlternateBuffer<char>& buffer, const Model& model) {
    require(buffer.capacity() == model.capacity && buffer.size() == model.size, "sizes");
    require((buffer.data() == nullptr) == (model.capacity == 0), "storage");
    require(buffer.maximumSize() == model.bound && buffer.defaultSize() == model.defaultSize,
            "limits");
    if (buffer.data() != nullptr) {
        std::memset(buffer.data(), 'x', buffer.capacity());
    }
}

bool resized(DefaultAlternateBuffer<char>& buffer, std::size_t failing, unsigned long size) {
    // A size that no buffer has fails like one for which there is no memory.
    try {
        return carriedOut(failing, [&] { buffer.resize(size); });
    } catch (const std::bad_alloc&) {
        require(size >= HUGE_SIZE, "memory");
        return false;
    }
}

void copyInto(DefaultAlternateBuffer<char>& buffer, Model& model, std::size_t failing,
              const std::string& text) {
    const bool done =
        carriedOut(failing, [&] { ByteBuffer::copy(buffer, text.data(), text.size()); });
    model.resize(text.size() + 1, done);
    if (done && buffer.data() != nullptr) {
        require(std::string(buffer.data(), buffer.size()) == text + '\0', "copied bytes");
    }
}

void checkInline(SizeableBuffer<char, INLINE>& buffer, std::size_t failing, unsigned long size) {
    bool granted = false;
    const bool done = carriedOut(failing, [&] { granted = buffer.resize(size); });
    const bool allowed =
        size <= INLINE || buffer.maximumSize() == 0 || size <= buffer.maximumSize();
    require(!done || granted == allowed || (granted && buffer.capacity() >= size), "answer");
    require(granted || buffer.capacity() == INLINE, "inline array after a refusal");
    require(!granted || buffer.capacity() >= size, "room");
    require(size > INLINE || buffer.capacity() == INLINE, "inline array");
    std::memset(buffer.data(), 'y', buffer.capacity());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const auto bound = static_cast<unsigned long>(input.number());
    char storage[DEFAULT];
    DefaultAlternateBuffer<char> plain(bound);
    DefaultAlternateBuffer<char> withDefault(storage, DEFAULT, bound);
    SizeableBuffer<char, INLINE> sizeable(bound);
    Model plainModel{bound, 0};
    Model defaultModel{bound, DEFAULT};
    while (!input.isEmpty()) {
        const unsigned operation = input.byte();
        const std::size_t failing = input.byte() % 4;
        const auto wanted = static_cast<unsigned long>(input.number());
        switch (operation % 4) {
            case 0:
                plainModel.resize(wanted, resized(plain, failing, wanted));
                break;
            case 1:
                defaultModel.resize(wanted, resized(withDefault, failing, wanted));
                break;
            case 2:
                copyInto(withDefault, defaultModel, failing, std::string(wanted % 64, 'z'));
                break;
            default:
                checkInline(sizeable, failing, wanted);
        }
        compare(plain, plainModel);
        compare(withDefault, defaultModel);
    }
    return 0;
}
