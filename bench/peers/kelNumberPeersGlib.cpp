#include <glib.h>

#include "kelNumberBench.h"

namespace nx::oss::bench {

namespace {

template <class Number>
void addIntegerParser(const Numbers<Number>& numbers) {
    addParser(numbers, "GLib g_ascii_string_to_signed", [](const std::string& text) {
        gint64 value = 0;
        require(g_ascii_string_to_signed(text.c_str(), 10, G_MININT64, G_MAXINT64, &value,
                                         nullptr) != FALSE,
                "GLib g_ascii_string_to_signed");
        return static_cast<Number>(value);
    });
}

void addDoubleParser(const Numbers<double>& numbers) {
    addParser(numbers, "GLib g_ascii_strtod", [](const std::string& text) {
        char* end = nullptr;
        const double value = g_ascii_strtod(text.c_str(), &end);
        require(end == text.c_str() + text.size(), "GLib g_ascii_strtod");
        return value;
    });
}

void addDoublePrinter(const Numbers<double>& numbers) {
    addPrinter(numbers, "GLib g_ascii_formatd", [](double value) {
        char text[512];
        return std::string(g_ascii_formatd(text, sizeof text, "%f", value));
    });
}

}  // namespace

void addGlib(const NumberSamples& samples) {
    addIntegerParser(samples.parsedInt32);
    addIntegerParser(samples.parsedInt64);
    addDoubleParser(samples.parsedMoney);
    addDoubleParser(samples.parsedExact);
    addDoublePrinter(samples.printedSmall);
    addDoublePrinter(samples.printedLarge);
}

}  // namespace nx::oss::bench
