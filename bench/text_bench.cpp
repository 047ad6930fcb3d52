// What the grammars and conversions cost that work on one text in memory: recurrence rules, HTML bodies.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench/support/temp_folder.h"
#include "btosif/osif_erg.h"
#include "btosif/osif_util/html_to_text.h"

namespace {

// ---- Recurrence rules ----------------------------------------------------------------------------------

constexpr const char* kUsualRules[] = {
    "D1 #10",
    "W1 MO TU WE TH FR #0",
    "W2 TU TH 19991224T000000",
    "MP1 1+ 2- FR$ 20061231T000000",
    "MD1 1 15 LD #12",
    "YM1 6 12 #5",
    "YD1 1 100 200 300 #4",
    "D2 0600 1200 1500 #5 M15 #4",
};

void ParseUsualRule(benchmark::State& state) {
  const char* text = kUsualRules[state.range(0)];
  for (auto _ : state) {
    RecurrenceRule rule;
    bench::Require(ERG_Parse(text, rule) == OSIF_OK, "a rule was not read");
    benchmark::DoNotOptimize(rule);
  }
  state.SetLabel(text);
}

void GenerateUsualRule(benchmark::State& state) {
  RecurrenceRule rule;
  bench::Require(ERG_Parse(kUsualRules[state.range(0)], rule) == OSIF_OK, "a rule was not read");
  char text[256];
  for (auto _ : state) {
    bench::Require(ERG_Generate(rule, text, sizeof text) == OSIF_OK, "a rule was not written");
    benchmark::DoNotOptimize(text);
  }
  state.SetLabel(kUsualRules[state.range(0)]);
}

// A rule for a day of the month, as long as a peer likes to make it.
std::string LongRule(int64_t entries) {
  std::string text = "MD1";
  for (int64_t i = 0; i < entries; ++i) text.append(" ").append(std::to_string(i % 28 + 1));
  return text + " #10";
}

void ParseLongRule(benchmark::State& state) {
  const std::string text = LongRule(state.range(0));
  for (auto _ : state) {
    RecurrenceRule rule;
    bench::Require(ERG_Parse(text, rule) == OSIF_OK, "a rule was not read");
    benchmark::DoNotOptimize(rule);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

void GenerateLongRule(benchmark::State& state) {
  const std::string text = LongRule(state.range(0));
  RecurrenceRule rule;
  bench::Require(ERG_Parse(text, rule) == OSIF_OK, "a rule was not read");
  std::vector<char> written(text.size() + 64);
  for (auto _ : state) {
    bench::Require(ERG_Generate(rule, written.data(), written.size()) == OSIF_OK,
                   "a rule was not written");
    benchmark::DoNotOptimize(written.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

BENCHMARK(ParseUsualRule)->DenseRange(0, std::size(kUsualRules) - 1);
BENCHMARK(GenerateUsualRule)->DenseRange(0, std::size(kUsualRules) - 1);
BENCHMARK(ParseLongRule)->Arg(10'000)->Arg(100'000);
BENCHMARK(GenerateLongRule)->Arg(10'000)->Arg(100'000);

// ---- HTML ----------------------------------------------------------------------------------------------

std::u16string Document(std::u16string_view piece, int64_t size) {
  std::u16string html = u"<html><head><title>Report</title></head><body>";
  while (html.size() < static_cast<size_t>(size)) html += piece;
  return html + u"</body></html>";
}

void Convert(benchmark::State& state, std::u16string_view piece) {
  const std::u16string html = Document(piece, state.range(0));
  std::u16string text(html.size() + 1, u'\0');
  for (auto _ : state) benchmark::DoNotOptimize(HtmlToText(html.c_str(), text.data(), text.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(html.size() * sizeof(WCHAR)));
}

void HtmlOfAMessage(benchmark::State& state) {
  Convert(
      state,
      u"<p class=\"line\">The tide is <b>high</b> at&nbsp;ten &amp; low at four.<br>\r\n</p>\r\n");
}
void HtmlOfEntities(benchmark::State& state) { Convert(state, u"&eacute;&#8364;&unknown;&"); }
void HtmlOfOpenTags(benchmark::State& state) { Convert(state, u"<"); }
void HtmlOfOpenComments(benchmark::State& state) { Convert(state, u"<!--"); }

void Lengths(benchmark::internal::Benchmark* bench) {
  bench->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK(HtmlOfAMessage)->Apply(Lengths);
BENCHMARK(HtmlOfEntities)->Apply(Lengths);
BENCHMARK(HtmlOfOpenTags)->Apply(Lengths);
BENCHMARK(HtmlOfOpenComments)->Apply(Lengths);

}  // namespace
