// A reply from its text to a freed list, beside what else takes such a line apart.
// packages: libglib2.0-dev
// link: glib-2.0
#include <benchmark/benchmark.h>
#include <glib.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "hearth/at_handlers.h"
#include "hearth/at_parse.h"

// Logging stands aside, as it does on a device where no setting lets the line through.
extern "C" void osa_print_log_ex(const char *, const char *, uint32_t, uint32_t, const char *,
                                 ...) {}

namespace {

constexpr char kCreg[] = "+CREG: 2,1,\"18D8\",\"015BA1F2\"";

void parse_text(benchmark::State &state, const char *key, const std::string &reply, uint32_t table,
                uint32_t action) {
    std::string text;
    text.reserve(reply.size());
    for (auto _ : state) {
        text = reply;
        at_parse_result *list = nullptr;
        int32_t code = at_cmd_parse(&list, key, text.data(), table, action);
        if (code != AT_PARSE_OK) {
            state.SkipWithError("not parsed");
        }
        benchmark::DoNotOptimize(list);
        free_at_cmd(list);
    }
}

void BM_creg(benchmark::State &state) {
    parse_text(state, "+CREG", kCreg, 1, AT_ACTION_READ);
}
BENCHMARK(BM_creg);

// The blocks of that list alone: what any list of this shape costs.
void BM_allocations_creg(benchmark::State &state) {
    std::string text = kCreg;
    at_parse_result *list = nullptr;
    at_cmd_parse(&list, "+CREG", text.data(), 1, AT_ACTION_READ);
    std::vector<size_t> sizes;
    for (at_parse_result *field = list; field != nullptr; field = field->next_field) {
        for (const char *part : {field->AtFieldName, field->AtFieldValue}) {
            if (part != nullptr) {
                sizes.push_back(strlen(part) + 1);
            }
        }
        sizes.push_back(sizeof *field);
    }
    free_at_cmd(list);
    std::vector<void *> blocks(sizes.size());
    for (auto _ : state) {
        for (size_t i = 0; i < sizes.size(); i++) {
            blocks[i] = malloc(sizes[i]);
            benchmark::DoNotOptimize(blocks[i]);
        }
        for (void *block : blocks) {
            free(block);
        }
    }
}
BENCHMARK(BM_allocations_creg);

// The lookup of the last row of the longest table.
void BM_last_row(benchmark::State &state) {
    parse_text(state, "^LCACELLURC", "^LCACELLURC:1", 0, AT_ACTION_REPORT);
}
BENCHMARK(BM_last_row);

void BM_operators(benchmark::State &state) {
    std::string reply = "+COPS: (2,\"Telekom.de\",\"TDG\",\"26201\",7)";
    for (int64_t i = 1; i < state.range(0); ++i) {
        reply += ",(1,\"vodafone.de\",\"Vodafone\",\"26202\",2)";
    }
    reply += ",,(0,1,2,3,4),(0,1,2)";
    parse_text(state, "+COPS", reply, 1, AT_ACTION_TEST);
}
BENCHMARK(BM_operators)->Arg(4)->Arg(32);

void BM_fields(benchmark::State &state) {
    std::string reply = "^CMGI:0";
    for (int64_t i = 1; i < state.range(0); ++i) {
        reply += "," + std::to_string(i);
    }
    parse_text(state, "^CMGI", reply, 3, AT_ACTION_EXECUTE);
}
BENCHMARK(BM_fields)->Arg(16)->Arg(128)->Arg(255);

void BM_peer_sscanf_creg(benchmark::State &state) {
    for (auto _ : state) {
        int n = 0;
        int stat = 0;
        char lac[16];
        char ci[16];
        int got = sscanf(kCreg, "+CREG: %d,%d,\"%15[^\"]\",\"%15[^\"]\"", &n, &stat, lac, ci);
        benchmark::DoNotOptimize(got);
        benchmark::DoNotOptimize(ci);
    }
}
BENCHMARK(BM_peer_sscanf_creg);

void BM_peer_glib_regex_creg(benchmark::State &state) {
    GRegex *regex = g_regex_new("\\+CREG: (\\d+),(\\d+),\"([^\"]*)\",\"([^\"]*)\"",
                                G_REGEX_OPTIMIZE, GRegexMatchFlags(0), nullptr);
    for (auto _ : state) {
        GMatchInfo *match = nullptr;
        g_regex_match(regex, kCreg, GRegexMatchFlags(0), &match);
        gchar **fields = g_match_info_fetch_all(match);
        benchmark::DoNotOptimize(fields);
        g_strfreev(fields);
        g_match_info_free(match);
    }
    g_regex_unref(regex);
}
BENCHMARK(BM_peer_glib_regex_creg);

void BM_peer_glib_strsplit_creg(benchmark::State &state) {
    for (auto _ : state) {
        gchar **fields = g_strsplit(strchr(kCreg, ':') + 1, ",", -1);
        for (gchar **field = fields; *field != nullptr; ++field) {
            g_strstrip(*field);
        }
        benchmark::DoNotOptimize(fields);
        g_strfreev(fields);
    }
}
BENCHMARK(BM_peer_glib_strsplit_creg);

}  // namespace
