// The guide's page on upgrading: which library a program runs with.
#include <infra/oss/kelBuildVersion.h>
#include <infra/oss/kelUTF8String.h>

#include <iostream>

namespace {

// [version]
// For --version, and for the first line of a log.
void showLibrary(std::ostream& out) {
    const nx::oss::BuildVersion library;
    out << "libkelinfra "
        << nx::oss::UTF8String(library.getProductVersion()).getString()
        << ", protocol "
        << nx::oss::UTF8String(library.getProtocolVersion()).getString()
        << ", build "
        << nx::oss::UTF8String(library.getBuildNumberString()).getString()
        << "\n";
}
// [version]

}  // namespace

int main() { showLibrary(std::cout); }
