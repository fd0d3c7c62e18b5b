// Feeds a list of operations to two message lists, now and then with a failing allocation, and
// compares records, order and cursor with a list of numbers after each. At the end the list travels
// in an exception of each class.
//
// Input: operations, each a letter, the number of the allocation that fails, and the number that
// tells one record from another.

#include <algorithm>
#include <exception>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include <infra/oss/kelIOException.h>
#include <infra/oss/kelMessageList.h>
#include <infra/oss/kelNLSException.h>
#include <infra/oss/kelSocketException.h>
#include <infra/util/kelBase64Exception.h>
#include <infra/util/kelPropertiesException.h>

#include "kelFuzzFaults.h"
#include "kelFuzzInput.h"

namespace {

using nx::oss::BaseException;
using nx::oss::Message;
using nx::oss::MessageList;

using Numbers = std::vector<unsigned long>;

constexpr std::size_t LONGEST = 5000;

struct Model {
    Numbers numbers;
    /// The record that comes next; nothing when the cursor stands on none.
    std::optional<std::size_t> cursor;
};

/// A record with an argument, so that copying it takes memory.
Message recordOf(unsigned long number) {
    Message message("A_RECORD_OF_THE_LIST", Message::DEFAULT, "file", number);
    message.addArgument(icu::UnicodeString(40, u'a', 40));
    return message;
}

Numbers numbersOf(const MessageList& list) {
    Numbers numbers;
    for (const Message* each = list.getHead(); each != nullptr; each = each->getNext()) {
        require(each->getMessageArgsCount() == 1 && each->getMessageID() == "A_RECORD_OF_THE_LIST",
                "content of a record");
        numbers.push_back(each->getLineNumber());
    }
    return numbers;
}

void compareFirst(MessageList& list, const Numbers& wanted) {
    try {
        const MessageList& constant = list;
        require(list.getFirstMessage().getLineNumber() == wanted.at(0), "first record");
        require(&constant.getFirstMessage() == constant.getHead(), "first record of a constant");
    } catch (const nx::oss::NLSException& error) {
        require(wanted.empty() && error.messages.getFirstMessage().getLineNumber() == 262,
                "error of an empty list");
    }
}

void compare(MessageList& list, const Model& model) {
    require(numbersOf(list) == model.numbers, "records");
    require(list.count() == model.numbers.size(), "count");
    require(list.isEmpty() == model.numbers.empty(), "emptiness");
    require(list.hasMoreMsgs() == model.cursor.has_value(), "cursor");
    compareFirst(list, model.numbers);
}

std::optional<std::size_t> placeBehind(std::size_t place, const Numbers& numbers) {
    return place + 1 < numbers.size() ? std::make_optional(place + 1) : std::nullopt;
}

void walk(MessageList& list, Model& model, bool fromTheStart) {
    const Message* const found = fromTheStart ? list.getFirstMsg() : list.getNextMsg();
    if (fromTheStart) {
        model.cursor = model.numbers.empty() ? std::nullopt : std::make_optional<std::size_t>(0);
    }
    require((found == nullptr) == !model.cursor.has_value(), "record under the cursor");
    if (model.cursor) {
        require(found->getLineNumber() == model.numbers[*model.cursor], "record of the walk");
        model.cursor = placeBehind(*model.cursor, model.numbers);
    }
}

/// Changes the first list, with the help of the second.
void change(unsigned operation, std::size_t failing, unsigned long number, MessageList& list,
            Model& model, const MessageList& other, const Model& otherModel) {
    const Message message = recordOf(number);
    switch (operation % 6) {
        case 0:
            if (carriedOut(failing, [&] { list.addMessage(message); })) {
                model.numbers.push_back(number);
            }
            return;
        case 1:
            if (carriedOut(failing, [&] { list.insertMessage(message); })) {
                model.numbers.insert(model.numbers.begin(), number);
                model.cursor = model.cursor ? std::make_optional(*model.cursor + 1) : std::nullopt;
            }
            return;
        case 2:
            if (model.numbers.size() < LONGEST && carriedOut(failing, [&] { list.join(other); })) {
                model.numbers.insert(model.numbers.end(), otherModel.numbers.begin(),
                                     otherModel.numbers.end());
            }
            return;
        case 3:
            if (carriedOut(failing, [&] { list = other; })) {
                model = {otherModel.numbers, std::nullopt};
            }
            return;
        case 4:
            return walk(list, model, number % 4 == 0);
        default:
            if (number % 4 == 0) {
                list.clear();
                model = {};
            }
    }
}

template <class Exception>
void travel(const char* name, const MessageList& list) {
    const Numbers wanted = numbersOf(list);
    try {
        Exception exception;
        exception.messages.join(list);
        throw exception;
    } catch (const std::exception& caught) {
        require(caught.what() == std::string_view(name), "what()");
        const std::exception_ptr kept = std::current_exception();
        try {
            std::rethrow_exception(kept);
        } catch (const BaseException& again) {
            require(again.name() == std::string_view(name), "name()");
            const BaseException sliced(again);
            require(numbersOf(again.messages) == wanted, "records of an exception");
            require(numbersOf(sliced.messages) == wanted, "records of a copy");
            require(sliced.what() == std::string_view("oss::BaseException"), "what() of a copy");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    MessageList lists[2];
    Model models[2];
    while (!input.isEmpty()) {
        const unsigned operation = input.byte();
        const std::size_t failing = input.byte() % 16;
        const unsigned which = operation >> 7;
        change(operation & 0x7F, failing, input.byte(), lists[which], models[which],
               lists[1 - which], models[1 - which]);
        compare(lists[which], models[which]);
    }
    const MessageList all(lists[0]);
    require(numbersOf(all) == models[0].numbers, "copy");
    travel<BaseException>("oss::BaseException", all);
    travel<nx::oss::IOException>("IOException", all);
    travel<nx::oss::NLSException>("NLSException", all);
    travel<nx::oss::SocketException>("oss::SocketException", all);
    travel<nx::util::Base64Exception>("Base64Exception", all);
    travel<nx::util::PropertiesException>("PropertiesException", all);
    return 0;
}
