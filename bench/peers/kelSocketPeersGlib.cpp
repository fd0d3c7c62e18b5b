#include <gio/gio.h>

#include "kelSocketBench.h"

namespace nx::oss::bench {

namespace {

class GlibClient {
  public:
    static constexpr std::size_t PAYLOAD_OFFSET = 0;

    void connect(std::uint16_t port) {
        connection_ = g_socket_client_connect_to_host(client(), HOST, port, nullptr, nullptr);
        require(connection_ != nullptr, "g_socket_client_connect_to_host");
        g_socket_set_option(g_socket_connection_get_socket(connection_), IPPROTO_TCP_NUMBER,
                            TCP_NODELAY_OPTION, 1, nullptr);
    }
    void close() {
        g_io_stream_close(G_IO_STREAM(connection_), nullptr, nullptr);
        g_object_unref(connection_);
    }
    void send(const char* data, std::size_t length) {
        sendItem(data, length, [this](const char* part, std::size_t size) { sendAll(part, size); });
    }
    std::size_t receive(char* data, std::size_t capacity) {
        return receiveItem(data, capacity,
                           [this](char* part, std::size_t size) { receiveAll(part, size); });
    }

  private:
    static constexpr int IPPROTO_TCP_NUMBER = 6;
    static constexpr int TCP_NODELAY_OPTION = 1;

    static GSocketClient* client() {
        static GSocketClient* const shared = [] {
            GSocketClient* const made = g_socket_client_new();
            g_socket_client_set_timeout(made, TIMEOUT_MS / 1000);
            return made;
        }();
        return shared;
    }

    void sendAll(const char* data, std::size_t length) {
        GOutputStream* const stream = g_io_stream_get_output_stream(G_IO_STREAM(connection_));
        require(g_output_stream_write_all(stream, data, length, nullptr, nullptr, nullptr) != 0,
                "g_output_stream_write_all");
    }
    void receiveAll(char* data, std::size_t length) {
        GInputStream* const stream = g_io_stream_get_input_stream(G_IO_STREAM(connection_));
        require(g_input_stream_read_all(stream, data, length, nullptr, nullptr, nullptr) != 0,
                "g_input_stream_read_all");
    }

    GSocketConnection* connection_ = nullptr;
};

}  // namespace

void addGlibClients() { addClient<GlibClient>("GLib GSocketClient"); }

}  // namespace nx::oss::bench
