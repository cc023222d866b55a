// The document that XML benchmarks read.
#pragma once

#include <stddef.h>

#include <string>

namespace hearth::bench {

// Settings as a router keeps them: short names, short values, some attributes, a few escapes.
inline std::string document_of(size_t size) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n";
    for (int i = 0; text.size() < size; ++i) {
        std::string number = std::to_string(i);
        text += "<section id=\"" + number + "\" name=\"wan" + number + "\">\n<enabled>" +
                std::to_string(i % 2) + "</enabled>\n<address>192.168." + std::to_string(i % 256) +
                ".1</address>\n<description>port " + number +
                " &amp; its profile</description>\n<mtu>1500</mtu>\n<empty/>\n</section>\n";
    }
    return text + "</config>\n";
}

}  // namespace hearth::bench
