#include <infra/oss/kelSocket.h>
#include <infra/oss/kelSocketException.h>
#include <unicode/unistr.h>

#include <charconv>
#include <cstring>
#include <exception>
#include <string>
#include <system_error>

#include "kelPeers.h"

#ifdef KELINFRA_BENCH_POCO
#include <Poco/Exception.h>
#endif
#ifdef KELINFRA_BENCH_BOOST
#include <boost/exception/all.hpp>
#endif
#ifdef KELINFRA_BENCH_FMT
#include <fmt/format.h>
#endif
#ifdef KELINFRA_BENCH_GLIB
#include <glib.h>
#endif

namespace nx::oss::bench {

namespace {

constexpr const char* IDENTIFIER = "ERR_SOCKET_NOT_CONNECTED";
constexpr const char* FILE_NAME = "kelSocket.cpp";
constexpr const char* HOST = "search1.example.org";
constexpr unsigned long PORT = 8080;
constexpr unsigned long LINE = 262;
constexpr const char* RENDERED = "ERR_SOCKET_NOT_CONNECTED: [] - [search1.example.org] [8080]";

const icu::UnicodeString& hostName() {
    static const icu::UnicodeString host(HOST);
    return host;
}

// Each contender is a class with
// - raise(), which throws the record of the failure;
// - Caught, what a caller catches;
// - render(caught, text), which brings it into the form that is shown, and check(text).

/// The library: one record with two arguments.
struct Ours {
    using Caught = SocketException;
    using Text = icu::UnicodeString;
    [[noreturn]] static void raise() {
        throw SocketException(IDENTIFIER, FILE_NAME, LINE, &hostName(), PORT);
    }
    static void render(const Caught& caught, Text& text) {
        caught.messages.getFirstMessage().toString(text);
    }
    static bool check(const Text& text) { return text == icu::UnicodeString(RENDERED); }
};

/// The same fields in a structure of their own, rendered with the same strings.
struct PlainError {
    icu::UnicodeString identifier;
    icu::UnicodeString file;
    unsigned long line;
    icu::UnicodeString host;
    unsigned long port;
};

struct Plain {
    using Caught = PlainError;
    using Text = icu::UnicodeString;
    [[noreturn]] static void raise() {
        throw PlainError{icu::UnicodeString(IDENTIFIER), icu::UnicodeString(FILE_NAME), LINE,
                         hostName(), PORT};
    }
    static void render(const Caught& caught, Text& text) {
        char16_t digits[20];
        int32_t count = 0;
        char narrow[20];
        const char* const end = std::to_chars(narrow, narrow + sizeof narrow, caught.port).ptr;
        for (const char* digit = narrow; digit != end; ++digit) {
            digits[count++] = static_cast<char16_t>(*digit);
        }
        text = caught.identifier;
        text.append(u": [] - [", 8).append(caught.host);
        text.append(u"] [", 3).append(digits, count).append(u']');
    }
    static bool check(const Text& text) { return text == icu::UnicodeString(RENDERED); }
};

/// No fields for file, line and arguments: they are part of the text.
struct Standard {
    using Caught = std::system_error;
    using Text = std::string;
    [[noreturn]] static void raise() {
        throw std::system_error(std::make_error_code(std::errc::not_connected),
                                std::string(FILE_NAME) + ':' + std::to_string(LINE) + ' ' + HOST +
                                    ' ' + std::to_string(PORT));
    }
    static void render(const Caught& caught, Text& text) { text = caught.what(); }
    static bool check(const Text& text) { return text.find("8080") != std::string::npos; }
};

/// An int: what throwing costs by itself.
struct Bare {
    using Caught = int;
    [[noreturn]] static void raise() { throw static_cast<int>(PORT); }
};

#ifdef KELINFRA_BENCH_POCO
struct PocoContender {
    using Caught = Poco::IOException;
    using Text = std::string;
    [[noreturn]] static void raise() {
        throw Poco::IOException(
            std::string(IDENTIFIER) + ' ' + FILE_NAME + ':' + std::to_string(LINE) + ' ' + HOST,
            static_cast<int>(PORT));
    }
    static void render(const Caught& caught, Text& text) { text = caught.displayText(); }
    static bool check(const Text& text) { return text.find(HOST) != std::string::npos; }
};
#endif

#ifdef KELINFRA_BENCH_BOOST
struct BoostError : virtual std::exception, virtual boost::exception {};
using Identifier = boost::error_info<struct TagIdentifier, std::string>;
using Host = boost::error_info<struct TagHost, std::string>;
using Port = boost::error_info<struct TagPort, unsigned long>;

struct BoostContender {
    using Caught = BoostError;
    using Text = std::string;
    [[noreturn]] static void raise() {
        throw BoostError() << Identifier(IDENTIFIER) << boost::throw_file(FILE_NAME)
                           << boost::throw_line(static_cast<int>(LINE)) << Host(HOST) << Port(PORT);
    }
    static void render(const Caught& caught, Text& text) {
        text = boost::diagnostic_information(caught);
    }
    static bool check(const Text& text) { return text.find(HOST) != std::string::npos; }
};
#endif

#ifdef KELINFRA_BENCH_FMT
/// Structure and text in bytes, rendered with a format string.
struct FormatError {
    std::string identifier;
    std::string file;
    unsigned long line;
    std::string host;
    unsigned long port;
};

struct Format {
    using Caught = FormatError;
    using Text = std::string;
    [[noreturn]] static void raise() { throw FormatError{IDENTIFIER, FILE_NAME, LINE, HOST, PORT}; }
    static void render(const Caught& caught, Text& text) {
        text.clear();
        fmt::format_to(std::back_inserter(text), "{}: [] - [{}] [{}]", caught.identifier,
                       caught.host, caught.port);
    }
    static bool check(const Text& text) { return text == RENDERED; }
};
#endif

#ifdef KELINFRA_BENCH_GLIB
/// Nothing is thrown: the error, which is a text, comes back through a pointer.
[[gnu::noinline]] void failWithGlib(GError** error) {
    static const GQuark DOMAIN = g_quark_from_static_string("kelErrorBench");
    g_set_error(error, DOMAIN, 107, "%s %s:%lu %s %lu", IDENTIFIER, FILE_NAME, LINE, HOST, PORT);
}

std::string renderGlib() {
    GError* error = nullptr;
    failWithGlib(&error);
    std::string text = error->message;
    g_error_free(error);
    return text;
}

void addGlib() {
    const std::string name = "(partial) GLib GError";
    require(renderGlib().find(HOST) != std::string::npos, name);
    addRow("throw + catch + render", name, [](benchmark::State& state) {
        for (auto step : state) {
            const std::string text = renderGlib();
            benchmark::DoNotOptimize(text.data());
        }
    });
}
#endif

template <class Contender>
[[gnu::noinline]] void throwOnce() {
    Contender::raise();
}

// A frame with something to clean up, that the compiler cannot fold into its caller.
template <class Contender, int FRAMES>
[[gnu::noinline]] void throwThrough() {
    const std::string cleanedUp(FRAMES, 'x');
    benchmark::DoNotOptimize(cleanedUp.data());
    if constexpr (FRAMES == 1) {
        throwOnce<Contender>();
    } else {
        throwThrough<Contender, FRAMES - 1>();
    }
    benchmark::ClobberMemory();
}

template <class Contender>
void throwAndCatch(benchmark::State& state) {
    for (auto step : state) {
        try {
            throwOnce<Contender>();
        } catch (const typename Contender::Caught& caught) {
            benchmark::DoNotOptimize(&caught);
        }
    }
}

template <class Contender>
void throughTenFrames(benchmark::State& state) {
    for (auto step : state) {
        try {
            throwThrough<Contender, 10>();
        } catch (const typename Contender::Caught& caught) {
            benchmark::DoNotOptimize(&caught);
        }
    }
}

template <class Contender>
void throwCatchAndRender(benchmark::State& state) {
    for (auto step : state) {
        try {
            throwOnce<Contender>();
        } catch (const typename Contender::Caught& caught) {
            typename Contender::Text text;
            Contender::render(caught, text);
            benchmark::DoNotOptimize(text);
        }
    }
}

template <class Contender>
void renderOnly(benchmark::State& state) {
    try {
        Contender::raise();
    } catch (const typename Contender::Caught& caught) {
        for (auto step : state) {
            typename Contender::Text text;
            Contender::render(caught, text);
            benchmark::DoNotOptimize(text);
        }
    }
}

template <class Contender>
void checkRendering(const std::string& name) {
    typename Contender::Text text;
    try {
        Contender::raise();
    } catch (const typename Contender::Caught& caught) {
        Contender::render(caught, text);
    }
    require(Contender::check(text), name);
}

template <class Contender>
void addContender(const std::string& name) {
    checkRendering<Contender>(name);
    addRow("throw + catch", name, throwAndCatch<Contender>);
    addRow("throw + catch through 10 frames", name, throughTenFrames<Contender>);
    addRow("throw + catch + render", name, throwCatchAndRender<Contender>);
    addRow("render", name, renderOnly<Contender>);
}

}  // namespace

}  // namespace nx::oss::bench

int main(int argc, char** argv) {
    using namespace nx::oss::bench;
    initializeWithPeers(argc, argv);
    addContender<Ours>("kelinfra");
    addContender<Plain>("plain C++ struct");
    addContender<Standard>("(partial) std::system_error");
    addRow("throw + catch", "(limit) int", throwAndCatch<Bare>);
#ifdef KELINFRA_BENCH_POCO
    addContender<PocoContender>("POCO");
#endif
#ifdef KELINFRA_BENCH_BOOST
    addContender<BoostContender>("boost::exception");
#endif
#ifdef KELINFRA_BENCH_FMT
    addContender<Format>("std::string struct + fmt");
#endif
#ifdef KELINFRA_BENCH_GLIB
    addGlib();
#endif
    return run();
}
