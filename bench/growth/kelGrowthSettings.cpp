#include <infra/oss/kelByteArrayOutputStream.h>
#include <infra/util/kelExtendedProperties.h>
#include <unicode/unistr.h>

#include <cstdio>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "kelGrowth.h"

namespace nx::oss::bench {

namespace {

using util::ExtendedProperties;

std::string keyOf(std::size_t i) {
    char key[32];
    std::snprintf(key, sizeof key, "option%07zu", i);
    return key;
}

icu::UnicodeString textKeyOf(std::size_t i) { return icu::UnicodeString::fromUTF8(keyOf(i)); }

/// `line(i)` for each i below `size`.
template <class Line>
std::string linesOf(std::size_t size, Line line) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += line(i);
    }
    return text;
}

std::string plainLine(std::size_t i) { return keyOf(i) + "=" + std::to_string(i) + "\n"; }

Run loading(std::string text, bool resolve = false) {
    return [text = std::move(text), resolve] {
        auto properties = std::make_shared<ExtendedProperties>();
        properties->loadFromString(text.data(), text.size(), /*flag=*/false, resolve);
        return properties;
    };
}

Run loadPlain(std::size_t size) { return loading(linesOf(size, plainLine)); }

Run loadBackwards(std::size_t size) {
    return loading(linesOf(size, [size](std::size_t i) { return plainLine(size - i); }));
}

Run loadShuffled(std::size_t size) {
    return loading(linesOf(size, [size](std::size_t i) { return plainLine(i * 7'919 % size); }));
}

Run loadRepeatedKey(std::size_t size) {
    return loading(linesOf(size, [](std::size_t i) { return plainLine(i % 2); }));
}

Run loadContinuedLines(std::size_t size) {
    return loading("key=" + linesOf(size, [](std::size_t) { return "part \\\n   "; }));
}

Run loadHugeEscapedValue(std::size_t size) {
    return loading("key=" + linesOf(size, [](std::size_t) { return "\\u00e9\\t"; }) + "\n");
}

Run loadComments(std::size_t size) {
    return loading(linesOf(size, [](std::size_t) { return "# a comment\n"; }));
}

Run loadLongCommonStarts(std::size_t size) {
    return loading(linesOf(size, [size](std::size_t i) {
        return std::string(100, 'x') + plainLine(i * 7'919 % size);
    }));
}

Run loadDeepReferences(std::size_t size) {
    return loading(linesOf(size,
                           [size](std::size_t i) {
                               return i + 1 == size ? plainLine(i)
                                                    : keyOf(i) + "=%" + keyOf(i + 1) + "%\n";
                           }),
                   /*resolve=*/true);
}

Run loadManyReferencesInOneValue(std::size_t size) {
    return loading("a=1\nb=" + linesOf(size, [](std::size_t) { return "%a%,"; }) + "\n",
                   /*resolve=*/true);
}

Run loadReferencesToOne(std::size_t size) {
    return loading("a=1\n" + linesOf(size, [](std::size_t i) { return keyOf(i) + "=%a%/%a%\n"; }),
                   /*resolve=*/true);
}

std::shared_ptr<ExtendedProperties> propertiesOf(std::size_t size) {
    auto properties = std::make_shared<ExtendedProperties>();
    const std::string text = linesOf(size, plainLine);
    properties->load(text.data(), text.size());
    return properties;
}

std::vector<icu::UnicodeString> keysOf(std::size_t size) {
    std::vector<icu::UnicodeString> keys;
    for (std::size_t i = 0; i < size; ++i) {
        keys.push_back(textKeyOf(i * 7'919 % size));
    }
    return keys;
}

Run lookUp(std::size_t size) {
    return [properties = propertiesOf(size), keys = keysOf(size)] {
        for (const icu::UnicodeString& key : keys) {
            keep(properties->requireProperty(key));
        }
        return Held();
    };
}

Run putAndRemove(std::size_t size) {
    return [keys = keysOf(size)] {
        auto properties = std::make_shared<ExtendedProperties>();
        for (const icu::UnicodeString& key : keys) {
            properties->putProperty(key, key);
        }
        for (const icu::UnicodeString& key : keys) {
            properties->removeProperty(key);
        }
        return properties;
    };
}

Run copySet(std::size_t size) {
    return [properties = propertiesOf(size)] {
        auto copy = std::make_shared<ExtendedProperties>();
        copy->copy(*properties);
        return copy;
    };
}

Run storeSet(std::size_t size) {
    return
        [properties = propertiesOf(size), bytes = std::make_shared<std::vector<char>>(64 * size)] {
            ByteArrayOutputStream stream(bytes->data(), bytes->size());
            properties->store(stream);
            keep(stream.getCount());
            return Held();
        };
}

class Discarding : public std::streambuf {
  protected:
    int overflow(int c) override { return c; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

Run listSet(std::size_t size) {
    return [properties = propertiesOf(size)] {
        Discarding nowhere;
        std::ostream out(&nowhere);
        properties->list(out);
        return Held();
    };
}

/// Names of one level below each other, each after the one that it refers to.
Run resolveChainInOrder(std::size_t size) {
    return loading(linesOf(size,
                           [](std::size_t i) {
                               return i == 0 ? plainLine(i)
                                             : keyOf(i) + "=%" + keyOf(i - 1) + "%\n";
                           }),
                   /*resolve=*/true);
}

void addLoading() {
    addGrowth({"settings loaded, in key order", LARGEST_SET, 20, loadPlain});
    addGrowth({"settings loaded, backwards", LARGEST_SET, 20, loadBackwards});
    addGrowth({"settings loaded, shuffled", LARGEST_SET, 20, loadShuffled});
    addGrowth({"settings loaded, two keys again and again", LARGEST_SET, 16, loadRepeatedKey});
    addGrowth(
        {"settings loaded, keys with a long common start", LARGEST_SET, 120, loadLongCommonStarts});
    addGrowth(
        {"settings loaded, one value of continued lines", LARGEST_SET, 10, loadContinuedLines});
    addGrowth({"settings loaded, one value of escapes", LARGEST_SET, 8, loadHugeEscapedValue});
    addGrowth({"settings loaded, comments only", LARGEST_SET, 12, loadComments});
    addGrowth({"settings resolved, one chain", LARGEST_SET, 29, loadDeepReferences});
    addGrowth(
        {"settings resolved, one chain, last to first", LARGEST_SET, 29, resolveChainInOrder});
    addGrowth({"settings resolved, one value of references", MOST_REFERENCES, 4,
               loadManyReferencesInOneValue});
    addGrowth({"settings resolved, references to one value", LARGEST_SET, 22, loadReferencesToOne});
}

}  // namespace

void addSettingsGrowth() {
    addLoading();
    addGrowth({"settings looked up", LARGEST_SET, 20, lookUp});
    addGrowth({"settings put and removed, shuffled", LARGEST_SET, 26, putAndRemove});
    addGrowth({"settings copied", LARGEST_SET, 20, copySet});
    addGrowth({"settings stored", LARGEST_SET, 20, storeSet});
    addGrowth({"settings listed", LARGEST_SET, 20, listSet});
}

}  // namespace nx::oss::bench
