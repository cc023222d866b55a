// What the tree of a document takes beside other libraries: bytes of the heap for each element or
// attribute, and the most that its parse had at a time for each byte of text.
// packages: libpugixml-dev libtinyxml2-dev libxml2-dev
// link: pugixml tinyxml2 xml2
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <malloc.h>
#include <stdlib.h>
#include <tinyxml2.h>

#include <algorithm>
#include <pugixml.hpp>
#include <string>

#include "bench/xml_document.h"
#include "hearth/xml.h"

extern "C" {
// The C library's own.
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);
}

namespace {

// Of this one thread; none other is started.
size_t g_used;
size_t g_peak;

void *taken(void *block) {
    g_used += malloc_usable_size(block);
    g_peak = std::max(g_peak, g_used);
    return block;
}

void given_back(void *block) {
    g_used -= malloc_usable_size(block);
}

}  // namespace

// In place of the C library's for every library in the process.
extern "C" {
void *malloc(size_t size) {
    return taken(__libc_malloc(size));
}
void *calloc(size_t count, size_t size) {
    return taken(__libc_calloc(count, size));
}
void *realloc(void *block, size_t size) {
    given_back(block);
    return taken(__libc_realloc(block, size));
}
void free(void *block) {
    given_back(block);
    __libc_free(block);
}
}

namespace {

struct Hearth {
    XML_Node *tree = nullptr;
    explicit Hearth(const std::string &text) {
        if (cl_xmlParse(text.c_str(), &tree) != 0) {
            abort();
        }
    }
    ~Hearth() { cl_xmlFreeNode(tree); }
};

struct Pugixml {
    pugi::xml_document *document = new pugi::xml_document;
    explicit Pugixml(const std::string &text) { document->load_buffer(text.data(), text.size()); }
    ~Pugixml() { delete document; }
};

struct Tinyxml2 {
    tinyxml2::XMLDocument *document = new tinyxml2::XMLDocument;
    explicit Tinyxml2(const std::string &text) { document->Parse(text.data(), text.size()); }
    ~Tinyxml2() { delete document; }
};

struct Libxml2 {
    xmlDocPtr document;
    explicit Libxml2(const std::string &text)
        : document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                 XML_PARSE_NOBLANKS)) {}
    ~Libxml2() { xmlFreeDoc(document); }
};

size_t nodes_of(const XML_Node *node) {
    size_t count = 0;
    for (; node != nullptr; node = node->next_sibling) {
        count += 1 + nodes_of(node->first_attribute) + nodes_of(node->first_child);
    }
    return count;
}

template <typename Tree>
void tree(benchmark::State &state) {
    std::string text = hearth::bench::document_of(64 << 10);
    size_t nodes = nodes_of(Hearth(text).tree);
    { Tree first(text); }  // what a library sets up once does not count
    for (auto _ : state) {
        size_t before = g_used;
        g_peak = before;
        Tree parsed(text);
        state.counters["node"] = static_cast<double>(g_used - before) / static_cast<double>(nodes);
        state.counters["peak"] =
            static_cast<double>(g_peak - before) / static_cast<double>(text.size());
    }
}
BENCHMARK(tree<Hearth>)->Iterations(1);
BENCHMARK(tree<Pugixml>)->Iterations(1);
BENCHMARK(tree<Tinyxml2>)->Iterations(1);
BENCHMARK(tree<Libxml2>)->Iterations(1);

}  // namespace
