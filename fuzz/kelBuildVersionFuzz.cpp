// Splits arbitrary build versions, copies and assigns them, now and then with a failing allocation,
// and compares all parts with those that a slow splitter finds.
//
// Input: operations, each a letter, the number of the allocation that fails and a version in units
// of two bytes.

#include <memory>

#include <infra/oss/kelBuildVersion.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"
#include "reference/kelTokenReference.h"

namespace {

using nx::oss::BuildVersion;

void compare(const BuildVersion& version, const std::u16string& text) {
    auto parts = nx::test::reference::tokensOf(text, u"-");
    parts.resize(3);
    require(unitsOf(version.getBuildVersion()) == text, "build version");
    require(unitsOf(version.getProductVersion()) == parts[0], "product version");
    require(unitsOf(version.getProtocolVersion()) == parts[1], "protocol version");
    require(unitsOf(version.getBuildNumberString()) == parts[2], "build number");
    require(!version.getProductVersion().isBogus() && !version.getProtocolVersion().isBogus() &&
                !version.getBuildNumberString().isBogus(),
            "null parts");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    auto version = std::make_unique<BuildVersion>();
    std::u16string model = u"1.0.0.0-1.1-579";
    compare(*version, model);
    while (!input.isEmpty()) {
        const unsigned operation = input.byte();
        const std::size_t failing = input.byte() % 4;
        const std::u16string text = input.units();
        const icu::UnicodeString source = icuOf(text);
        std::unique_ptr<BuildVersion> made;
        if (carriedOut(failing, [&] { made = std::make_unique<BuildVersion>(source); })) {
            compare(*made, text);
            if (operation % 3 == 0 && carriedOut(failing, [&] { *version = *made; })) {
                model = text;
            } else if (operation % 3 == 1) {
                version = std::make_unique<BuildVersion>(*made);
                model = text;
            }
        }
        if (operation % 3 == 2 &&
            !carriedOut(failing, [&] { version->tokenizeBuildVersionString(); })) {
            version->tokenizeBuildVersionString();
        }
        compare(*version, model);
    }
    return 0;
}
