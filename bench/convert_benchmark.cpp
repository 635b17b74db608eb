// Label references replaced in files of up to 100 MB: the time has to grow with the size alone.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "labels/label_references.h"
#include "labels/loaded_labels.h"

namespace importkcd {
namespace {

constexpr std::size_t megabyte = 1'000'000;
constexpr int label_count = 2'000;

LoadedLabels labels_of_usual_length() {
  LoadedLabels labels;
  labels.MinLabelID = 1;
  labels.MaxLabelID = label_count;
  labels.loaded = true;
  for (int id = 1; id <= label_count; ++id) {
    labels.LabelTable.push_back("The customer@#$%s revenue " + std::to_string(id));
  }
  return labels;
}

/// About a reference every 100 characters, as documents have them: 10,000 a megabyte.
std::string text_of_size(std::size_t size, const std::string& before) {
  std::string text;
  text.reserve(size + 200);
  for (int id = 1; text.size() < size; id = id % label_count + 1) {
    text += before;
    text += std::to_string(id);
    text += R"(%" type="regular" column_size="40" column_type="130" ordering="name"/>)";
    text += '\n';
  }
  return text;
}

void substitute(benchmark::State& state, const std::string& before) {
  const auto labels = labels_of_usual_length();
  const auto text = text_of_size(static_cast<std::size_t>(state.range(0)) * megabyte, before);
  for (auto _ : state) {
    auto converted = SubstituteLabelReferences(text, labels);
    benchmark::DoNotOptimize(converted.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void label_references(benchmark::State& state) { substitute(state, R"(      <level name="$##)"); }
BENCHMARK(label_references)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

/// Markers that open no reference, in front of each that does.
void markers_without_reference(benchmark::State& state) {
  substitute(state, R"($##$##$##x% <level name="$##)");
}
BENCHMARK(markers_without_reference)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace importkcd
