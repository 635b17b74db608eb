#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "importer/import_olapdb_from_kcd_doc.h"
#include "servers/catalogue/catalogue_store.h"
#include "servers/memory/memory_server.h"
#include "servers/working_copy_server.h"
#include "tests/support/document_generator.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

/// A folder with one generated document of a number of cubes; it goes away with this object.
class DocumentFile {
 public:
  explicit DocumentFile(int cubes) : folder_(fs::temp_directory_path() / "importkcd-bench") {
    fs::create_directories(folder_);
    testing::GeneratorOptions options;
    options.cubes = cubes;
    options.shared_dimensions = 10 + cubes / 20;
    const auto text = testing::generate_document(options);
    size_ = static_cast<std::int64_t>(text.size());
    std::ofstream(path(), std::ios::binary) << text;
  }
  ~DocumentFile() { fs::remove_all(folder_); }
  DocumentFile(const DocumentFile&) = delete;
  DocumentFile& operator=(const DocumentFile&) = delete;

  std::string path() const { return (folder_ / "generated.kcd").string(); }
  std::string catalogue() const { return (folder_ / "server.olap").string(); }
  std::int64_t size() const { return size_; }

  void remove_catalogue() const {
    for (const auto* suffix : {"", "-wal", "-shm", "-lock"}) {
      fs::remove(catalogue() + suffix);
    }
  }

 private:
  fs::path folder_;
  std::int64_t size_ = 0;
};

/// One import as a program runs it, without anybody watching the messages.
void import(const DocumentFile& document, std::int32_t type, const OlapServerFactory& open_server,
            benchmark::State& state) {
  ImportOLAPDBFromKCDDoc importer(open_server);
  importer.kcd_document_file_name = document.path();
  importer.ImportType = type;
  importer.import_partitions = true;
  // Levels are added, never replaced, so that an update of dimensions that have some must not.
  importer.DontUpdateLevels = type == import_type::update;
  importer.succeeded = true;
  importer.make();
  if (!importer.succeeded) {
    state.SkipWithError(importer.last_error.c_str());
  }
}

OlapServerFactory catalogue_factory(const DocumentFile& document) {
  return [path = document.catalogue()](std::string_view) {
    return std::make_unique<WorkingCopyServer>(
        make_catalogue_store(path, ServerAccess::read_write));
  };
}

void report(benchmark::State& state, const DocumentFile& document) {
  state.SetBytesProcessed(state.iterations() * document.size());
  state.SetComplexityN(document.size());
  state.counters["document_bytes"] = static_cast<double>(document.size());
}

void import_into_memory(benchmark::State& state) {
  const DocumentFile document(static_cast<int>(state.range(0)));
  for ([[maybe_unused]] auto round : state) {
    import(document, import_type::incremental, [](std::string_view) { return make_memory_server();
  },
           state);
}
report(state, document);
}  // namespace

void import_into_new_catalogue(benchmark::State& state) {
  const DocumentFile document(static_cast<int>(state.range(0)));
  for ([[maybe_unused]] auto round : state) {
    import(document, import_type::incremental, catalogue_factory(document), state);
    state.PauseTiming();
    document.remove_catalogue();
    state.ResumeTiming();
  }
  report(state, document);
}

void import_again(benchmark::State& state, std::int32_t type) {
  const DocumentFile document(static_cast<int>(state.range(0)));
  import(document, import_type::incremental, catalogue_factory(document), state);
  for ([[maybe_unused]] auto round : state) {
    import(document, type, catalogue_factory(document), state);
  }
  report(state, document);
}

/// Documents of about 1, 10 and 100 MB: the time must grow with them and no faster.
void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(270)->Arg(2700)->Arg(27000)->Unit(benchmark::kMillisecond)->UseRealTime();
  benchmark->Complexity(benchmark::oN);
}

BENCHMARK(import_into_memory)->Apply(sizes);
BENCHMARK(import_into_new_catalogue)->Apply(sizes);
BENCHMARK_CAPTURE(import_again, incremental, import_type::incremental)->Apply(sizes);
BENCHMARK_CAPTURE(import_again, update, import_type::update)->Apply(sizes);

}  // namespace importkcd
}  // namespace importkcd
