#include "kelitem/kelStatistics.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tools {

namespace {

constexpr double LONGEST_BAR = 40;
constexpr double SHORTEST_STEP = 1e-6;

/// 1, 2, 5, 10, 20, ... millionths of a second.
double nextStep(double step) {
    const double exponent = std::floor(std::log10(step * 1.0001));
    const double leading = step / std::pow(10.0, exponent);
    return step * (leading > 1.5 && leading < 3 ? 2.5 : 2);
}

/// `number` with as many digits behind the point as are of use.
std::string shortNumber(double number) {
    char text[64];
    const int digits = number < 10 ? 3 : number < 100 ? 2 : 1;
    std::snprintf(text, sizeof text, "%.*f", digits, number);
    return text;
}

std::string bar(std::size_t count, std::size_t highest) {
    const double share = static_cast<double>(count) / static_cast<double>(highest);
    const auto length = static_cast<std::size_t>(std::ceil(share * LONGEST_BAR));
    return std::string(length, '#');
}

}  // namespace

double percentile(const std::vector<double>& times, double percent) {
    const double rank = std::ceil(percent / 100 * static_cast<double>(times.size()));
    const auto index = static_cast<std::size_t>(std::max(rank, 1.0)) - 1;
    return times[std::min(index, times.size() - 1)];
}

std::string durationText(double seconds) {
    return seconds < 1 ? shortNumber(seconds * 1000) + " ms" : shortNumber(seconds) + " s";
}

std::string sizeText(double bytes) {
    const char* const units[] = {" KB", " MB", " GB"};
    if (bytes < 1000) {
        return std::to_string(static_cast<long>(bytes)) + (bytes == 1 ? " byte" : " bytes");
    }
    std::size_t unit = 0;
    for (bytes /= 1000; bytes >= 1000 && unit < 2; bytes /= 1000) {
        ++unit;
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.1f%s", bytes, units[unit]);
    return text;
}

std::vector<std::string> histogram(const std::vector<double>& times) {
    std::vector<std::pair<double, std::size_t>> steps;
    std::size_t highest = 1;
    auto next = times.begin();
    for (double step = SHORTEST_STEP; next != times.end(); step = nextStep(step)) {
        const auto end = std::find_if(next, times.end(), [&](double time) { return time >= step; });
        const auto count = static_cast<std::size_t>(end - next);
        if (count != 0 || !steps.empty()) {
            steps.emplace_back(step, count);
            highest = std::max(highest, count);
        }
        next = end;
    }
    std::vector<std::string> lines;
    for (const auto& [step, count] : steps) {
        char limit[64];
        std::snprintf(limit, sizeof limit, "below %10s | ", durationText(step).c_str());
        std::string line = limit + bar(count, highest);
        line.resize(std::max(line.size(), std::string(limit).size() + 41), ' ');
        lines.push_back(line + std::to_string(count));
    }
    return lines;
}

}  // namespace tools
