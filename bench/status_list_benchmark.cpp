// What a status line costs in the main window, and that it does not grow with their number.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <iostream>
#include <string>

#include "bench/unserved_window.h"
#include "frontend/window/headless.h"

namespace importkcd {
namespace {

/// Adds 1,000 lines to a window that has shown as many as the argument says: they are painted at
/// the display's rate, and the window's events run after each.
void status_lines(benchmark::State& state) {
  HeadlessDialogs dialogs(std::cerr);
  frmImportKCDMain window(dialogs, no_services());
  window.Form_Load("");
  window.show();
  QCoreApplication::processEvents();
  for (std::int64_t line = 0; line < state.range(0); ++line) {
    window.PutProgressMsg("Creating cube role 'Role " + std::to_string(line) + "'");
  }
  constexpr int lines = 1000;
  for (auto _ : state) {
    for (int line = 0; line < lines; ++line) {
      window.PutProgressMsg("Creating cube 'Cube " + std::to_string(line) + "'");
    }
  }
  state.SetItemsProcessed(state.iterations() * lines);
}
BENCHMARK(status_lines)
    ->Arg(0)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

}  // namespace
}  // namespace importkcd

int main(int argument_count, char** arguments) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  benchmark::Initialize(&argument_count, arguments);
  int program_name_only = 1;
  const QApplication application(program_name_only, arguments);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
