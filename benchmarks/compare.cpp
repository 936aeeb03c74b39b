// Measures the SDK's checksums and JSON minifier side by side with the libraries people would otherwise reach for,
// interleaved in one run on one machine, and prints each speed and each ratio (ours / anchor; above 1 means the SDK
// is faster). Every contender is first checked to compute the same thing as the SDK on the same input.
//
//   compare [--rounds N] [--quick] [--json-only] [--forms]
//
// --json-only measures the minifier's tables alone; --forms adds a row for every vectorised form of the minifier.

#include <immintrin.h>
#include <isa-l/crc.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>
#include <time.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench_documents.h"
#include "core/cpu_features.h"
#include "core/crc32_kernels.h"
#include "core/crc32c_inline.h"
#include "flash/json_minifier_variants.h"
#include "uvc_stereo/checksum.h"
#include "uvc_stereo/json.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace bench = tovanel::uvc_stereo::bench;

// Keeps a result alive without costing more than a register move.
template <class T>
inline void keep(const T& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

// A zero the compiler cannot see through: adding a result AND it makes the next call wait for that result.
inline std::uint32_t opaque_zero() {
  std::uint32_t zero = 0;
  asm volatile("" : "+r"(zero));
  return zero;
}

// The calling thread's CPU time: other programs sharing the machine then slow no contender down, though they can
// still evict its caches.
struct Clock {
  using duration = std::chrono::nanoseconds;
  using time_point = std::chrono::time_point<Clock, duration>;
  static time_point now() noexcept {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return time_point(duration(static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec));
  }
};

// Runs `iterations` calls and returns nanoseconds per call.
using Batch = std::function<double(std::size_t iterations)>;

template <class F>
Batch batch_of(F call) {
  return [call](std::size_t iterations) {
    const auto start = Clock::now();
    for (std::size_t i = 0; i < iterations; ++i) {
      call();
    }
    const auto stop = Clock::now();
    return std::chrono::duration<double, std::nano>(stop - start).count() / static_cast<double>(iterations);
  };
}

struct Contender {
  Contender(std::string contender_name, Batch contender_batch)
      : name(std::move(contender_name)), batch(std::move(contender_batch)) {}

  std::string name;
  Batch batch;
  std::size_t iterations = 1;
  std::vector<double> samples;  // ns per call, one per round
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Times every contender of one row in turn, `rounds` times, rotating who goes first, so that a change in the
// machine's state (frequency, another process) touches all of them alike. Each batch lasts about `batch_ns`.
void measure(std::vector<Contender>& contenders, int rounds, double batch_ns) {
  for (Contender& c : contenders) {
    const double once = std::max(c.batch(1), 1.0);
    const double estimate = std::min(once, c.batch(std::max<std::size_t>(1, static_cast<std::size_t>(1e5 / once))));
    c.iterations = std::max<std::size_t>(1, static_cast<std::size_t>(batch_ns / std::max(estimate, 0.1)));
    c.samples.clear();
  }
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t k = 0; k < contenders.size(); ++k) {
      Contender& c = contenders[(k + static_cast<std::size_t>(round)) % contenders.size()];
      c.samples.push_back(c.batch(c.iterations));
    }
  }
}

std::string size_label(std::size_t bytes) {
  if (bytes >= (1u << 20) && bytes % (1u << 20) == 0) return std::to_string(bytes >> 20) + " MiB";
  if (bytes >= 1024 && bytes % 1024 == 0) return std::to_string(bytes >> 10) + " KiB";
  return std::to_string(bytes) + " B";
}

// One family of contenders over all sizes: speeds in GB/s and each anchor's ratio.
struct Table {
  std::string title;
  std::vector<std::string> columns;
  std::vector<std::string> rows;                           // contender names in order
  std::map<std::string, std::vector<double>> ns_per_call;  // by contender, one per column
  std::map<std::string, std::vector<std::size_t>> bytes;   // input bytes per column
  std::string ours;
};

// Measures one row of contenders on inputs of `bytes` bytes and adds it to `t`, under the column `label` when the
// table has columns.
void add_measured_row(Table& t, std::vector<Contender>& row, const std::string& label, std::size_t bytes, int rounds,
                      double batch_ns) {
  measure(row, rounds, batch_ns);
  if (!label.empty()) t.columns.push_back(label);
  for (const Contender& c : row) {
    if (t.ns_per_call.count(c.name) == 0) t.rows.push_back(c.name);
    t.ns_per_call[c.name].push_back(median(c.samples));
    t.bytes[c.name].push_back(bytes);
  }
}

void print_table(const Table& t) {
  std::printf("\n%s\n", t.title.c_str());
  std::printf("  %-34s", "GB/s (median of rounds)");
  for (const std::string& c : t.columns) std::printf("%12s", c.c_str());
  std::printf("\n");
  for (const std::string& row : t.rows) {
    std::printf("  %-34s", row.c_str());
    const auto& ns = t.ns_per_call.at(row);
    const auto& b = t.bytes.at(row);
    for (std::size_t i = 0; i < ns.size(); ++i) std::printf("%12.2f", static_cast<double>(b[i]) / ns[i]);
    std::printf("\n");
  }
  const auto& our_ns = t.ns_per_call.at(t.ours);
  for (const std::string& row : t.rows) {
    if (row == t.ours) continue;
    const std::string label = "ratio ours / " + row;
    std::printf("  %-34s", label.substr(0, 34).c_str());
    const auto& ns = t.ns_per_call.at(row);
    for (std::size_t i = 0; i < ns.size(); ++i) std::printf("%11.2fx", ns[i] / our_ns[i]);
    std::printf("\n");
  }
}

double ratio_at(const Table& t, const std::string& anchor, const std::string& column) {
  const auto it = std::find(t.columns.begin(), t.columns.end(), column);
  const std::size_t i = static_cast<std::size_t>(it - t.columns.begin());
  return t.ns_per_call.at(anchor)[i] / t.ns_per_call.at(t.ours)[i];
}

[[noreturn]] void disagree(const std::string& what) {
  std::fprintf(stderr, "compare: %s; the comparison would not be like for like\n", what.c_str());
  std::exit(1);
}

std::uint64_t load64(const std::uint8_t* p) {
  std::uint64_t v;
  std::memcpy(&v, p, sizeof(v));
  return v;
}

// The anchor for a 60-byte CRC-32C: the instruction in a plain loop compiled into the caller, eight bytes a step,
// then four, then one.
__attribute__((target("sse4.2"), always_inline)) inline std::uint32_t inlined_crc32c(const std::uint8_t* p,
                                                                                     std::size_t n) {
  std::uint64_t reg = 0xFFFFFFFFu;
  for (; n >= 8; n -= 8, p += 8) reg = _mm_crc32_u64(reg, load64(p));
  auto narrow = static_cast<std::uint32_t>(reg);
  if (n >= 4) {
    std::uint32_t word;
    std::memcpy(&word, p, sizeof(word));
    narrow = _mm_crc32_u32(narrow, word);
    p += 4;
    n -= 4;
  }
  for (; n > 0; --n, ++p) narrow = _mm_crc32_u8(narrow, *p);
  return ~narrow;
}

__attribute__((target("sse4.2"))) std::uint32_t inlined_crc32c_once(const std::uint8_t* p, std::size_t n) {
  return inlined_crc32c(p, n);
}

__attribute__((target("sse4.2"))) double inlined_crc32c_batch(const std::uint8_t* p, std::size_t n,
                                                              std::size_t iterations) {
  const auto start = Clock::now();
  for (std::size_t i = 0; i < iterations; ++i) keep(inlined_crc32c(p, n));
  const auto stop = Clock::now();
  return std::chrono::duration<double, std::nano>(stop - start).count() / static_cast<double>(iterations);
}

// Each call's input address depends on the previous result, so calls cannot overlap: the latency of one checksum.
__attribute__((target("sse4.2"))) double inlined_crc32c_chain(const std::uint8_t* p, std::size_t n,
                                                              std::size_t iterations) {
  const std::uint32_t zero = opaque_zero();
  std::uint32_t last = 0;
  const auto start = Clock::now();
  for (std::size_t i = 0; i < iterations; ++i) last = inlined_crc32c(p + (last & zero), n);
  const auto stop = Clock::now();
  keep(last);
  return std::chrono::duration<double, std::nano>(stop - start).count() / static_cast<double>(iterations);
}

Table crc_ieee_table(const std::vector<std::size_t>& sizes, int rounds, double batch_ns) {
  Table t{"CRC-32 (IEEE 802.3), random bytes", {}, {}, {}, {}, "crc32_ieee (SDK)"};
  for (const std::size_t size : sizes) {
    const auto data = std::make_shared<std::vector<std::uint8_t>>(bench::random_payload(size));
    const std::uint32_t ours = sdk::crc32_ieee(*data);
    if (static_cast<std::uint32_t>(crc32(0, data->data(), static_cast<uInt>(size))) != ours) disagree("zlib crc32");
    if (crc32_gzip_refl(0, data->data(), size) != ours) disagree("ISA-L crc32_gzip_refl");
    std::vector<Contender> row = {
        {"crc32_ieee (SDK)", batch_of([data] { keep(sdk::crc32_ieee(*data)); })},
        {"zlib crc32", batch_of([data] { keep(crc32(0, data->data(), static_cast<uInt>(data->size()))); })},
        {"ISA-L crc32_gzip_refl", batch_of([data] { keep(crc32_gzip_refl(0, data->data(), data->size())); })},
    };
    add_measured_row(t, row, size_label(size), size, rounds, batch_ns);
  }
  return t;
}

Table crc_castagnoli_table(const std::vector<std::size_t>& sizes, int rounds, double batch_ns) {
  Table t{"CRC-32C (Castagnoli), random bytes", {}, {}, {}, {}, "crc32c, inline short path (SDK)"};
  for (const std::size_t size : sizes) {
    const auto data = std::make_shared<std::vector<std::uint8_t>>(bench::random_payload(size));
    const std::uint8_t* p = data->data();
    const std::uint32_t ours = sdk::detail::crc32c(p, size);
    if (inlined_crc32c_once(p, size) != ours) disagree("the inlined CRC-32C loop");
    // ISA-L leaves out the final inversion: it takes and returns the raw register.
    if (~crc32_iscsi(data->data(), static_cast<int>(size), 0xFFFFFFFFu) != ours) disagree("ISA-L crc32_iscsi");
    std::vector<Contender> row = {
        {"crc32c, inline short path (SDK)", batch_of([data, p] { keep(sdk::detail::crc32c_short(p, data->size())); })},
        {"detail::crc32c, exported (SDK)", batch_of([data, p] { keep(sdk::detail::crc32c(p, data->size())); })},
        {"inlined crc32 instruction loop",
         [data, p](std::size_t n) { return inlined_crc32c_batch(p, data->size(), n); }},
        {"ISA-L crc32_iscsi",
         batch_of([data] { keep(~crc32_iscsi(data->data(), static_cast<int>(data->size()), 0xFFFFFFFFu)); })},
    };
    add_measured_row(t, row, size_label(size), size, rounds, batch_ns);
  }
  return t;
}

// The 60-byte capability report as one checksum at a time: each call waits for the previous one.
Table crc_castagnoli_latency_table(int rounds, double batch_ns) {
  Table t{"CRC-32C of one 60-byte capability report, calls in a dependent chain (latency)",
          {"60 B"},
          {},
          {},
          {},
          "crc32c, inline short path (SDK)"};
  const auto data = std::make_shared<std::vector<std::uint8_t>>(bench::random_payload(60));
  const std::uint8_t* p = data->data();
  std::vector<Contender> row = {
      {"crc32c, inline short path (SDK)",
       [p](std::size_t n) {
         const std::uint32_t zero = opaque_zero();
         std::uint32_t last = 0;
         const auto start = Clock::now();
         for (std::size_t i = 0; i < n; ++i) last = sdk::detail::crc32c_short(p + (last & zero), 60);
         const auto stop = Clock::now();
         keep(last);
         return std::chrono::duration<double, std::nano>(stop - start).count() / static_cast<double>(n);
       }},
      {"inlined crc32 instruction loop", [p](std::size_t n) { return inlined_crc32c_chain(p, 60, n); }},
  };
  add_measured_row(t, row, "", 60, rounds, batch_ns);
  return t;
}

// RapidJSON's SAX reader feeding its writer: a validating minifier built from the library's parts.
bool rapidjson_minify(const std::string& text, rapidjson::StringBuffer& out) {
  rapidjson::Reader reader;
  rapidjson::StringStream in(text.c_str());
  rapidjson::Writer<rapidjson::StringBuffer> writer(out);
  return !reader.Parse(in, writer).IsError();
}

// With --forms, every vectorised form of the minifier this processor runs gets a row of its own beside the one in
// use, each called through the same public path, so that a new form is weighed against the others in one run.
bool g_every_form = false;

void add_form_rows(std::vector<Contender>& row, const std::shared_ptr<std::string>& text, const std::string& expected) {
  if (!g_every_form) return;
  const sdk::detail::JsonMinifierVariantList forms = sdk::detail::json_minifier_variants();
  for (const sdk::detail::JsonMinifierVariant* form = forms.begin; form != forms.end; ++form) {
    if (form->fast_path == nullptr || !form->supported(sdk::detail::cpu_features())) continue;
    const sdk::Result<std::string> result = sdk::detail::minify_and_validate_json_with(*form, *text);
    if (!result.ok() || result.value() != expected) disagree(std::string("the ") + form->name + " form disagrees");
    row.emplace_back(std::string("form ") + form->name, batch_of([text, form] {
                       keep(sdk::detail::minify_and_validate_json_with(*form, *text).value().size());
                     }));
  }
}

Table json_table(const std::string& title, std::string (*make)(std::size_t), const std::vector<std::size_t>& sizes,
                 int rounds, double batch_ns) {
  Table t{title, {}, {}, {}, {}, "minify_and_validate_json (SDK)"};
  auto parser = std::make_shared<simdjson::dom::parser>();
  for (const std::size_t size : sizes) {
    const auto text = std::make_shared<std::string>(make(size));
    const auto padded = std::make_shared<simdjson::padded_string>(*text);
    const auto minified = std::make_shared<std::vector<char>>(text->size() + simdjson::SIMDJSON_PADDING);

    const sdk::Result<std::string> ours = sdk::minify_and_validate_json(*text);
    if (!ours.ok()) disagree("the SDK refused its own benchmark document: " + ours.status().message());
    if (parser->parse(*padded).error() != simdjson::SUCCESS) disagree("simdjson refused the document");
    std::size_t minified_size = 0;
    if (simdjson::minify(text->data(), text->size(), minified->data(), minified_size) != simdjson::SUCCESS ||
        std::string_view(minified->data(), minified_size) != ours.value()) {
      disagree("simdjson::minify wrote other bytes than the SDK");
    }
    rapidjson::StringBuffer check;
    if (!rapidjson_minify(*text, check)) disagree("RapidJSON refused the document");

    std::vector<Contender> row = {
        {"minify_and_validate_json (SDK)",
         batch_of([text] { keep(sdk::minify_and_validate_json(*text).value().size()); })},
        {"simdjson DOM parse", batch_of([text, padded, parser] {
           auto element = parser->parse(*padded);
           keep(element.error());
         })},
        {"simdjson::minify (no validation)", batch_of([text, minified] {
           std::size_t n = 0;
           keep(simdjson::minify(text->data(), text->size(), minified->data(), n));
           keep(n);
         })},
        {"RapidJSON Reader + Writer", batch_of([text] {
           rapidjson::StringBuffer out;
           keep(rapidjson_minify(*text, out));
           keep(out.GetSize());
         })},
    };
    add_form_rows(row, text, ours.value());
    add_measured_row(t, row, size_label(size), text->size(), rounds, batch_ns);
  }
  return t;
}

// The UTF-8-heavy text four ways, each call going through every document of a set in turn: one document of 64 KiB,
// 256 copies of it (16 MiB of memory holding one text over and over), 256 different documents of the same kind and
// size, and one document of 16 MiB. The copies cost what the memory costs; the different documents add what a text
// that keeps changing costs; the single large one adds what a 16 MiB output costs.
Table json_spread_table(int rounds, double batch_ns) {
  Table t{"JSON: UTF-8-heavy text as one 64 KiB document, 256 copies of it, 256 different ones, one of 16 MiB",
          {},
          {},
          {},
          {},
          "minify_and_validate_json (SDK)"};
  auto parser = std::make_shared<simdjson::dom::parser>();
  const std::string one = bench::utf8_heavy_document(64 << 10);
  std::vector<std::string> others;
  for (std::size_t i = 0; i < 256; ++i) others.push_back(bench::utf8_heavy_document((64 << 10) + 64 * i));
  std::pair<const char*, std::vector<std::string>> sets[] = {
      {"one 64 KiB", {one}},
      {"256 copies", std::vector<std::string>(256, one)},
      {"256 others", std::move(others)},
      {"one 16 MiB", {bench::utf8_heavy_document(16 << 20)}},
  };
  for (auto& [label, documents] : sets) {
    const auto texts = std::make_shared<std::vector<std::string>>(std::move(documents));
    const auto padded = std::make_shared<std::vector<simdjson::padded_string>>();
    std::size_t bytes = 0;
    for (const std::string& text : *texts) {
      padded->emplace_back(text);
      bytes += text.size();
      if (!sdk::minify_and_validate_json(text).ok()) disagree("the SDK refused its own benchmark document");
      if (parser->parse(padded->back()).error() != simdjson::SUCCESS) disagree("simdjson refused the document");
    }
    std::vector<Contender> row = {
        {"minify_and_validate_json (SDK)", batch_of([texts] {
           for (const std::string& text : *texts) keep(sdk::minify_and_validate_json(text).value().size());
         })},
        {"simdjson DOM parse", batch_of([padded, parser] {
           for (const simdjson::padded_string& text : *padded) keep(parser->parse(text).error());
         })},
    };
    add_measured_row(t, row, label, bytes, rounds, batch_ns);
  }
  return t;
}

std::string cpu_model() {
  std::ifstream info("/proc/cpuinfo");
  std::string line;
  while (std::getline(info, line)) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "unknown";
}

void print_machine() {
  const sdk::detail::CpuFeatures& cpu = sdk::detail::cpu_features();
  std::printf("CPU: %s\n", cpu_model().c_str());
  std::printf("     sse4.2=%d pclmulqdq=%d avx2=%d avx512f=%d avx512bw=%d avx512vl=%d avx512vbmi2=%d vpclmulqdq=%d\n",
              cpu.sse42, cpu.pclmul, cpu.avx2, cpu.avx512f, cpu.avx512bw, cpu.avx512vl, cpu.avx512vbmi2,
              cpu.vpclmulqdq);
  std::printf("SDK kernels in use: crc32_ieee=%s crc32c=%s (inline short path up to 64 bytes) json=%s\n",
              sdk::detail::active_crc_kernel(sdk::detail::CrcPolynomial::Ieee).name,
              sdk::detail::active_crc_kernel(sdk::detail::CrcPolynomial::Castagnoli).name,
              sdk::detail::active_json_minifier_variant().name);
  std::printf("simdjson implementation: %s; ISA-L, zlib and RapidJSON as packaged by Debian\n",
              simdjson::get_active_implementation()->name().c_str());
}

void verdict(const char* target, double ratio, double needed) {
  std::printf("  %-62s %6.2fx  %s\n", target, ratio, ratio >= needed ? "met" : "NOT met");
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 15;
  double batch_ns = 2e6;
  bool json_only = false;  // the minifier's tables alone
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--rounds" && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--quick") {
      rounds = 3;
      batch_ns = 2e5;
    } else if (arg == "--json-only") {
      json_only = true;
    } else if (arg == "--forms") {
      g_every_form = true;
    } else {
      std::fprintf(stderr, "usage: %s [--rounds N] [--quick] [--json-only] [--forms]\n", argv[0]);
      return 2;
    }
  }
  print_machine();
  std::printf("Each figure is the median of %d interleaved rounds of about %.1f ms per contender.\n", rounds,
              batch_ns / 1e6);

  const std::vector<std::size_t>& sizes = bench::comparison_sizes();
  std::vector<Table> crc_tables;
  if (!json_only) {
    crc_tables.push_back(crc_ieee_table(sizes, rounds, batch_ns));
    print_table(crc_tables.back());
    crc_tables.push_back(crc_castagnoli_table(sizes, rounds, batch_ns));
    print_table(crc_tables.back());
    crc_tables.push_back(crc_castagnoli_latency_table(rounds, batch_ns));
    print_table(crc_tables.back());
  }
  // Each kind of document, with the name its targets go by.
  const std::pair<std::pair<const char*, std::string (*)(std::size_t)>, const char*> json_kinds[] = {
      {{"JSON: pretty-printed camera configuration (as stored in the flash record)", bench::configuration_document},
       "pretty-printed"},
      {{"JSON: the same configuration already minified (no whitespace to drop)",
        bench::minified_configuration_document},
       "already minified"},
      {{"JSON: configuration with notes in other languages (half escaped, half raw UTF-8) beside the numbers",
        bench::mixed_text_document},
       "notes in other languages"},
      {{"JSON: UTF-8-heavy configuration (notes in CJK and other scripts, raw UTF-8)", bench::utf8_heavy_document},
       "UTF-8-heavy"},
      {{"JSON: escape-heavy configuration (\\uXXXX, \\\", \\\\, \\n, Windows paths)", bench::escape_heavy_document},
       "escape-heavy"},
  };
  std::vector<Table> json_tables;
  for (const auto& kind : json_kinds) {
    json_tables.push_back(json_table(kind.first.first, kind.first.second, sizes, rounds, batch_ns));
    print_table(json_tables.back());
  }

  print_table(json_spread_table(rounds, batch_ns));

  std::printf("\nTargets (ratio ours / anchor in this run)\n");
  if (!json_only) {
    const Table& ieee = crc_tables[0];
    const Table& castagnoli = crc_tables[1];
    const Table& latency = crc_tables[2];
    verdict("crc32_ieee at 64 KiB >= 0.8x ISA-L crc32_gzip_refl", ratio_at(ieee, "ISA-L crc32_gzip_refl", "64 KiB"),
            0.8);
    verdict("crc32c at 60 B >= 1.0x inlined crc32 loop (independent calls)",
            ratio_at(castagnoli, "inlined crc32 instruction loop", "60 B"), 1.0);
    verdict("crc32c at 60 B >= 1.0x inlined crc32 loop (dependent calls)",
            ratio_at(latency, "inlined crc32 instruction loop", "60 B"), 1.0);
    verdict("crc32c at 64 KiB >= 0.8x ISA-L crc32_iscsi", ratio_at(castagnoli, "ISA-L crc32_iscsi", "64 KiB"), 0.8);
  }
  for (std::size_t i = 0; i < json_tables.size(); ++i) {
    for (const char* size : {"64 KiB", "16 MiB"}) {
      const std::string target =
          std::string("minifier at ") + size + " >= 1.0x simdjson DOM parse (" + json_kinds[i].second + ")";
      verdict(target.c_str(), ratio_at(json_tables[i], "simdjson DOM parse", size), 1.0);
    }
  }
  return 0;
}
