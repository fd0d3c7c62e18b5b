#include <infra/oss/kelMessage.h>
#include <infra/oss/kelMessageList.h>
#include <unicode/unistr.h>

#include <string>

#include "kelGrowth.h"

namespace nx::oss::bench {

namespace {

Message sampleMessage() {
    Message message("ERR_SOCKET_NOT_CONNECTED", Message::SEVERE, "kelSocket.cpp", 262);
    message.addArgument(8080UL);
    return message;
}

std::shared_ptr<MessageList> listOf(std::size_t size) {
    auto list = std::make_shared<MessageList>();
    const Message message = sampleMessage();
    for (std::size_t i = 0; i < size; ++i) {
        list->addMessage(message);
    }
    return list;
}

Run addRecords(std::size_t size) {
    return [size] { return listOf(size); };
}

Run insertRecords(std::size_t size) {
    return [size, message = sampleMessage()] {
        auto list = std::make_shared<MessageList>();
        for (std::size_t i = 0; i < size; ++i) {
            list->insertMessage(message);
        }
        return list;
    };
}

Run copyRecords(std::size_t size) {
    return [list = listOf(size)] { return std::make_shared<MessageList>(*list); };
}

Run joinRecords(std::size_t size) {
    return [list = listOf(size)] {
        auto joined = std::make_shared<MessageList>();
        joined->join(*list);
        return joined;
    };
}

Run walkRecords(std::size_t size) {
    return [list = listOf(size)] {
        for (keep(list->getFirstMsg()); list->hasMoreMsgs();) {
            keep(list->getNextMsg());
        }
        return Held();
    };
}

std::shared_ptr<Message> messageWith(std::size_t arguments) {
    auto message = std::make_shared<Message>(sampleMessage());
    for (std::size_t i = 0; i < arguments; ++i) {
        message->addArgument(static_cast<unsigned long>(i));
    }
    return message;
}

Run addArguments(std::size_t size) {
    return [size] { return messageWith(size); };
}

Run writeArguments(std::size_t size) {
    return [message = messageWith(size)] {
        auto text = std::make_shared<icu::UnicodeString>();
        message->toString(*text);
        return text;
    };
}

Run addBinaryArgument(std::size_t size) {
    return [bytes = std::string(size, '\x5A')] {
        auto message = std::make_shared<Message>();
        message->addBinary(bytes.data(), static_cast<int>(bytes.size()));
        return message;
    };
}

}  // namespace

void addMessageGrowth() {
    // Identifier and file name in UTF-16, and an argument of four digits.
    addGrowth({"MessageList::addMessage", LARGEST_SET, 82, addRecords});
    addGrowth({"MessageList::insertMessage", LARGEST_SET, 82, insertRecords});
    addGrowth({"MessageList copied", LARGEST_SET, 82, copyRecords});
    addGrowth({"MessageList::join", LARGEST_SET, 82, joinRecords});
    addGrowth({"MessageList walked", LARGEST_SET, 82, walkRecords});
    addGrowth({"Message::addArgument", LARGEST_SET, 12, addArguments});
    addGrowth({"Message::toString, arguments", LARGEST_SET, 12, writeArguments});
    addGrowth({"Message::addBinary", GIBIBYTE / 8, 4, addBinaryArgument});
}

}  // namespace nx::oss::bench
