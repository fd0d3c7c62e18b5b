#include <boost/beast/core/detail/base64.hpp>

#include "kelBase64Bench.h"

namespace nx::oss::bench {

void addBoost(const Base64Sample& sample) {
    // A part of Beast that is not documented, but the only codec of Boost with buffers.
    namespace base64 = boost::beast::detail::base64;
    addEncoder(sample, "Boost.Beast",
               [room = std::string(base64::encoded_size(sample.bytes.size()), '\0')](
                   const std::string& bytes, char16_t* text) mutable {
                   const std::size_t size = base64::encode(room.data(), bytes.data(), bytes.size());
                   widenText(room.data(), size, text);
                   return size;
               });
    addDecoder(sample, "Boost.Beast", [](const std::u16string& text, char* bytes) {
        // It stops where it does not go on; what must follow is looked at here.
        const std::string narrow = narrowed(text);
        const auto [written, read] = base64::decode(bytes, narrow.data(), narrow.size());
        const bool whole = narrow.size() % 4 == 0 && narrow.size() - read <= 2 &&
                           narrow.find_first_not_of('=', read) == std::string::npos;
        return whole ? written : REFUSED;
    });
}

}  // namespace nx::oss::bench
