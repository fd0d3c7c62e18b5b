#include <Poco/HexBinaryDecoder.h>
#include <Poco/HexBinaryEncoder.h>
#include <Poco/String.h>

#include <istream>
#include <iterator>
#include <sstream>

#include "kelDataBufferBench.h"

namespace nx::oss::bench {

void addPoco(const SearchSample& sample) {
    addReplace(sample, "POCO replace", [&sample](std::string_view replacement) {
        return Poco::replace(sample.often, std::string(NEEDLE), std::string(replacement));
    });
}

void addPoco(const HexSample& sample) {
    addCompared(encodeWorkload(sample), "POCO HexBinary", sample.digits, [&sample] {
        std::ostringstream out;
        Poco::HexBinaryEncoder encoder(out);
        encoder.rdbuf()->setLineLength(0);
        encoder.rdbuf()->setUppercase(false);
        encoder.write(sample.bytes.data(), static_cast<std::streamsize>(sample.bytes.size()));
        encoder.close();
        return out.str();
    });
    addCompared(decodeWorkload(sample), "POCO HexBinary", sample.bytes, [&sample] {
        std::istringstream in(sample.digits);
        Poco::HexBinaryDecoder decoder(in);
        return std::string(std::istreambuf_iterator<char>(decoder), {});
    });
}

}  // namespace nx::oss::bench
