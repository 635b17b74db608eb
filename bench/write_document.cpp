// Writes the documents that whole-program measurements work on.
//
//   write_document kcd MEGABYTES FILE    a cube definition document
//   write_document kci MEGABYTES FILE    a label-reference file, 10,000 references a megabyte
//
// The number of megabytes may have a fraction. The same arguments give the same bytes everywhere.

#include <cstddef>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "tests/support/document_generator.h"

namespace importkcd {
namespace {

constexpr double megabyte = 1'000'000;

std::string kcd_document(double megabytes) {
  constexpr double cubes_per_megabyte = 270;
  testing::GeneratorOptions options;
  options.cubes = static_cast<int>(megabytes * cubes_per_megabyte);
  options.shared_dimensions = 10 + options.cubes / 20;
  return testing::generate_document(options);
}

/// The labels that it refers to are those of bench/labels.sql.
std::string kci_file(double megabytes) {
  constexpr int label_count = 2'000;
  const auto size = static_cast<std::size_t>(megabytes * megabyte);
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<database version=\"1.0.1073\" guid=\"{bench}\" name=\"$##1%\">\n";
  text.reserve(size);
  for (int id = 1; text.size() < size; id = id % label_count + 1) {
    text += "      <level name=\"$##";
    text += std::to_string(id);
    text += R"(%" type="regular" column_size="40" column_type="130" ordering="name"/>)";
    text += '\n';
  }
  return text + "</database>\n";
}

int run(int argument_count, char** arguments) {
  const std::string_view kind = argument_count == 4 ? arguments[1] : "";
  const double megabytes = argument_count == 4 ? std::strtod(arguments[2], nullptr) : 0;
  if ((kind != "kcd" && kind != "kci") || megabytes <= 0) {
    std::cerr << "usage: write_document kcd|kci MEGABYTES FILE\n";
    return 2;
  }
  std::ofstream file(arguments[3], std::ios::binary);
  file << (kind == "kcd" ? kcd_document(megabytes) : kci_file(megabytes)) << std::flush;
  if (!file) {
    std::cerr << "cannot write '" << arguments[3] << "'\n";
    return 1;
  }
  return 0;
}

}  // namespace
}  // namespace importkcd

int main(int argc, char** argv) {
  try {
    return importkcd::run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
