#pragma once

#include <string>
#include <vector>

namespace tools {

/// The smallest of the times that at least `percent` % of them do not exceed. `times` is sorted and
/// not empty.
double percentile(const std::vector<double>& times, double percent);

/// "0.043 ms", "1.20 s".
std::string durationText(double seconds);
/// "12 bytes", "1.5 KB", "64.0 MB"; powers of 1000.
std::string sizeText(double bytes);

/// One line for each step of 1, 2, 5, 10, ... between the fastest and the slowest: its limits, a
/// bar and the number of times. `times`, in seconds, is sorted and not empty.
std::vector<std::string> histogram(const std::vector<double>& times);

}  // namespace tools
