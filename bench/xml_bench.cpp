// Parsing and freeing, and printing, of a configuration document beside other libraries. expat
// builds no tree and is the floor for reading alone.
// packages: libpugixml-dev libtinyxml2-dev libxml2-dev libexpat1-dev
// link: pugixml tinyxml2 xml2 expat
#include <benchmark/benchmark.h>
#include <expat.h>
#include <libxml/parser.h>
#include <tinyxml2.h>

#include <pugixml.hpp>
#include <string>

#include "bench/xml_document.h"
#include "hearth/xml.h"

using hearth::bench::document_of;

namespace {

void finish(benchmark::State &state, const std::string &text) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

void parse_hearth(benchmark::State &state) {
    std::string text = document_of(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        XML_Node *tree = nullptr;
        if (cl_xmlParse(text.c_str(), &tree) != 0) {
            state.SkipWithError("refused");
        }
        cl_xmlFreeNode(tree);
    }
    finish(state, text);
}

void parse_pugixml(benchmark::State &state) {
    std::string text = document_of(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        pugi::xml_document document;
        benchmark::DoNotOptimize(document.load_buffer(text.data(), text.size()));
    }
    finish(state, text);
}

void parse_tinyxml2(benchmark::State &state) {
    std::string text = document_of(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        tinyxml2::XMLDocument document;
        benchmark::DoNotOptimize(document.Parse(text.data(), text.size()));
    }
    finish(state, text);
}

void parse_libxml2(benchmark::State &state) {
    std::string text = document_of(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        xmlFreeDoc(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                 XML_PARSE_NOBLANKS));
    }
    finish(state, text);
}

void parse_expat(benchmark::State &state) {
    std::string text = document_of(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreate(nullptr);
        benchmark::DoNotOptimize(
            XML_Parse(parser, text.data(), static_cast<int>(text.size()), XML_TRUE));
        XML_ParserFree(parser);
    }
    finish(state, text);
}

void print_hearth(benchmark::State &state) {
    std::string text = document_of(static_cast<size_t>(state.range(0)));
    XML_Node *tree = nullptr;
    if (cl_xmlParse(text.c_str(), &tree) != 0) {
        state.SkipWithError("refused");
    }
    for (auto _ : state) {
        char *printed = nullptr;
        if (cl_xmlTransform(tree, &printed) != 0) {
            state.SkipWithError("not printed");
        }
        cl_xmlFreeMem(printed);
    }
    cl_xmlFreeNode(tree);
    finish(state, text);
}

// Collects what a document prints.
struct StringWriter : pugi::xml_writer {
    std::string text;
    void write(const void *data, size_t size) override {
        text.append(static_cast<const char *>(data), size);
    }
};

void print_pugixml(benchmark::State &state) {
    std::string text = document_of(static_cast<size_t>(state.range(0)));
    pugi::xml_document document;
    document.load_buffer(text.data(), text.size());
    for (auto _ : state) {
        StringWriter writer;
        document.save(writer, "", pugi::format_indent);
        benchmark::DoNotOptimize(writer.text.data());
    }
    finish(state, text);
}

void print_tinyxml2(benchmark::State &state) {
    std::string text = document_of(static_cast<size_t>(state.range(0)));
    tinyxml2::XMLDocument document;
    document.Parse(text.data(), text.size());
    for (auto _ : state) {
        tinyxml2::XMLPrinter printer;
        document.Print(&printer);
        benchmark::DoNotOptimize(printer.CStr());
    }
    finish(state, text);
}

void print_libxml2(benchmark::State &state) {
    std::string text = document_of(static_cast<size_t>(state.range(0)));
    xmlDocPtr document = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                       XML_PARSE_NOBLANKS);
    for (auto _ : state) {
        xmlChar *printed = nullptr;
        int length = 0;
        xmlDocDumpFormatMemory(document, &printed, &length, 0);
        xmlFree(printed);
    }
    xmlFreeDoc(document);
    finish(state, text);
}

void sizes(benchmark::internal::Benchmark *benchmark) {
    benchmark->Arg(2 << 10)->Arg(64 << 10)->Arg(1 << 20);
}

// How the parse and the release of a tree grow.
void free_deep(benchmark::State &state) {
    std::string text;
    for (int64_t i = 0; i < state.range(0); ++i) {
        text += "<a>";
    }
    for (int64_t i = 0; i < state.range(0); ++i) {
        text += "</a>";
    }
    for (auto _ : state) {
        state.PauseTiming();
        XML_Node *tree = nullptr;
        if (cl_xmlParse(text.c_str(), &tree) != 0) {
            state.SkipWithError("refused");
        }
        state.ResumeTiming();
        cl_xmlFreeNode(tree);
    }
}

BENCHMARK(parse_hearth)->Apply(sizes)->Arg(16 << 10)->Arg(256 << 10);
BENCHMARK(free_deep)->RangeMultiplier(10)->Range(100, 100000);
BENCHMARK(parse_pugixml)->Apply(sizes);
BENCHMARK(parse_tinyxml2)->Apply(sizes);
BENCHMARK(parse_libxml2)->Apply(sizes);
BENCHMARK(parse_expat)->Apply(sizes);
BENCHMARK(print_hearth)->Apply(sizes);
BENCHMARK(print_pugixml)->Apply(sizes);
BENCHMARK(print_tinyxml2)->Apply(sizes);
BENCHMARK(print_libxml2)->Apply(sizes);

}  // namespace
