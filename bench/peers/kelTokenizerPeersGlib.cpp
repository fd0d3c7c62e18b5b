#include <glib.h>

#include "kelTokenizerBench.h"

namespace nx::oss::bench {

void addGlib(const TokenSample& sample) {
    addSplit<char>(sample, "GLib g_strsplit_set", [](const std::string& text, auto take) {
        gchar** const tokens = g_strsplit_set(text.c_str(), DELIMITERS, -1);
        for (gchar** token = tokens; *token != nullptr; ++token) {
            if (**token != '\0') {  // runs have empty ones between them
                take(*token);
            }
        }
        g_strfreev(tokens);
    });
}

}  // namespace nx::oss::bench
