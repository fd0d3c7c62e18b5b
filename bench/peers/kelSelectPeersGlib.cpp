#include <glib.h>

#include <utility>

#include "kelSelectBench.h"

namespace nx::oss::bench {

namespace {

/// An array made in each call; what is ready goes into another.
class GlibPoll {
  public:
    explicit GlibPoll(std::vector<int> descriptors) : all_(std::move(descriptors)) {}
    void reset() {}
    void wait() {
        array_.clear();
        for (const int descriptor : all_) {
            array_.push_back({descriptor, G_IO_IN, 0});
        }
        g_poll(array_.data(), static_cast<guint>(array_.size()), static_cast<gint>(TIMEOUT_MS));
        ready_.clear();
        for (const GPollFD& entry : array_) {
            if (entry.revents != 0) {
                ready_.push_back(entry.fd);
            }
        }
    }
    bool found(int descriptor) const { return ready_ == std::vector<int>{descriptor}; }

  private:
    std::vector<int> all_;
    std::vector<int> ready_;
    std::vector<GPollFD> array_;
};

}  // namespace

void addGlibWaits(const Connections& connections, std::size_t idle) {
    addWait<GlibPoll>("GLib g_poll", connections, idle);
}

}  // namespace nx::oss::bench
