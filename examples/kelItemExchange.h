#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <infra/oss/kelSocket.h>

#include "kelExampleTools.h"

namespace example {

/// Sends one item, waits for the answer, and compares.
inline void exchangeItem(nx::oss::Socket& socket, std::string_view item,
                         std::vector<char>& answer) {
    if (item.size() > LARGEST_ITEM) {
        throw std::runtime_error("an item of " + std::to_string(item.size()) +
                                 " bytes is too long");
    }
    socket.writeItem(item.data(), 0, item.size());
    if (answer.size() < item.size()) {
        answer.resize(item.size());
    }
    unsigned long announced = 0;
    const unsigned long received =
        socket.readItem(answer.data(), announced, 0, item.size(), /*discardOversized=*/false);
    if (received < announced) {
        throw std::runtime_error("the server closed in the middle of an answer");
    }
    if (std::string_view(answer.data(), received) != item) {
        throw std::runtime_error("the answer differs from the item");
    }
}

}  // namespace example
