#include <glib.h>

#include "kelBase64Bench.h"

namespace nx::oss::bench {

void addGlib(const Base64Sample& sample) {
    addEncoder(sample, "GLib",
               [room = std::string(sample.text.size() + 8, '\0')](const std::string& bytes,
                                                                  char16_t* text) mutable {
                   int state = 0;
                   int save = 0;
                   gsize size =
                       g_base64_encode_step(reinterpret_cast<const guchar*>(bytes.data()),
                                            bytes.size(), FALSE, room.data(), &state, &save);
                   size += g_base64_encode_close(FALSE, room.data() + size, &state, &save);
                   widenText(room.data(), size, text);
                   return std::size_t{size};
               });
    addDecoder(sample, "GLib", [](const std::u16string& text, char* bytes) {
        const std::string narrow = narrowed(text);
        int state = 0;
        guint save = 0;
        return std::size_t{g_base64_decode_step(narrow.data(), narrow.size(),
                                                reinterpret_cast<guchar*>(bytes), &state, &save)};
    });
}

}  // namespace nx::oss::bench
