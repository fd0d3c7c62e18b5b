#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <string>
#include <vector>

#include <unicode/unistr.h>

namespace nx::test {

/// What ExtendedProperties must do, written the slow way: one byte at a time, recursively, with
/// searches from the start. Its texts are std::u16string, so that nothing of it rests on ICU.
class PropertiesModel {
  public:
    using Text = std::u16string;
    using Map = std::map<Text, Text>;

    /// Why resolving stopped; no identifier when it did not.
    struct Failure {
        std::string identifier;
        std::vector<Text> arguments;
    };

    /// Thrown when a value grows beyond what the slow way can do in reasonable time.
    struct TooLong {};

    Map pairs;
    std::list<Text> includes;

    /// The pairs of a text in the order in which they are read, without storing them.
    static std::vector<std::pair<Text, Text>> read(const std::string& bytes);
    void load(const std::string& bytes);

    Failure resolveAll();
    Failure resolve(std::list<Text>& inProgress, const Text& name, Text& value);

    std::string store() const;
    static std::string written(const Text& text, bool escapeBlank, bool escapeSpecial);
};

}  // namespace nx::test
