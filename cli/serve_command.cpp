#include <arpa/inet.h>
#include <netinet/in.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "cli/commands.h"
#include "cli/olap_engine.h"

namespace importkcd {
namespace {

/// Whether only this computer reaches an address. Any other name than "localhost" may mean
/// anything.
bool is_loopback(const std::string& address) {
  constexpr unsigned char loopback_network = 127;
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  if (inet_pton(AF_INET, address.c_str(), bytes.data()) == 1) {
    return bytes.front() == loopback_network;
  }
  if (inet_pton(AF_INET6, address.c_str(), bytes.data()) == 1) {
    return std::equal(bytes.begin(), bytes.end(), in6addr_loopback.s6_addr);
  }
  return same_name(address, "localhost");
}

std::string heap_fault(const std::string& text) {
  const auto digits = text.find_first_not_of("0123456789");
  const bool is_size = digits != 0 && digits != std::string::npos && digits + 1 == text.size() &&
                       std::string("kKmMgG").find(text[digits]) != std::string::npos;
  return is_size ? "" : "a size is a number with m or g behind it, such as 2g";
}

class ServeCommand : public Command {
 public:
  explicit ServeCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  void add_place_options();
  void add_login_options();
  void add_engine_options();
  void add_state_options();

  std::string directory_;
  EngineOptions options_;
  std::uint16_t admin_port_ = 0;
  bool is_insecure_ = false;
};

ServeCommand::ServeCommand(CLI::App& program)
    : Command(program, "serve", "Answer MDX over XMLA from imported documents") {
  command_
      ->add_option("DIRECTORY", directory_,
                   "The directory that documents were imported into (mondrian:DIRECTORY)")
      ->required()
      ->type_name("");
  add_place_options();
  add_login_options();
  add_engine_options();
  add_state_options();
}

void ServeCommand::add_place_options() {
  command_->add_option("--port", options_.port, "Where to listen; 0 is any free port")
      ->type_name("N")
      ->capture_default_str();
  command_
      ->add_option("--address", options_.address,
                   "The address of the interface to listen on. One that others reach needs --users")
      ->type_name("ADDRESS")
      ->capture_default_str();
  command_
      ->add_option("--host", options_.hosts,
                   "A further name by which clients call this computer; requests that are meant "
                   "for other hosts are refused. May be given several times")
      ->type_name("NAME")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  auto* certificate = command_->add_option("--tls-certificate", options_.certificate_file,
                                           "Speak https with this certificate, in PEM");
  auto* key = command_->add_option("--tls-key", options_.key_file, "The certificate's key, in PEM");
  certificate->type_name("PEM")->needs(key);
  key->type_name("PEM")->needs(certificate);
}

void ServeCommand::add_login_options() {
  auto* users = command_->add_option(
      "--users", options_.users_file,
      "Ask everybody for a login of this file, which kcd user add makes (htpasswd with bcrypt)");
  users->type_name("FILE");
  command_
      ->add_option("--grants", options_.grants,
                   "Who sees what: a file of JSON, or from-documents, which takes the user lists "
                   "of the documents' roles. Without it whoever logs in sees everything")
      ->type_name("FILE|from-documents")
      ->needs(users);
  command_
      ->add_flag("--insecure", is_insecure_,
                 "Listen on an address that others reach without asking them for a login")
      ->disable_flag_override();
}

void ServeCommand::add_engine_options() {
  constexpr std::uint32_t longest_limit_seconds = 7 * 24 * 3600;
  constexpr std::uint32_t most_questions = 1000;
  command_
      ->add_option("--limit,--query-timeout", options_.question_seconds,
                   "A question ends after so many seconds; 0 is never")
      ->type_name("SECONDS")
      ->check(CLI::Range(std::uint32_t{0}, longest_limit_seconds))
      ->capture_default_str();
  command_
      ->add_option("--max-concurrent", options_.concurrent_questions,
                   "How many questions are answered at the same time; else 16")
      ->type_name("N")
      ->check(CLI::Range(std::uint32_t{1}, most_questions));
  command_->add_option("--heap", options_.heap, "The most memory that the engine takes, such as 2g")
      ->type_name("SIZE")
      ->check(heap_fault);
  command_
      ->add_option("--driver", options_.driver_jars,
                   "A JDBC driver for a data warehouse. May be given several times")
      ->type_name("JAR")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void ServeCommand::add_state_options() {
  constexpr double longest_pause_minutes = 7 * 24 * 60;
  command_
      ->add_option("--access-log", options_.access_log_file,
                   "Write a line of JSON for each request")
      ->type_name("FILE");
  command_
      ->add_option("--admin-port", admin_port_,
                   "Tell /health and /metrics at this port of 127.0.0.1; 0 is any free port")
      ->type_name("N");
  command_
      ->add_flag("--public-health", options_.has_public_health,
                 "Tell /health where questions are answered, without a login")
      ->disable_flag_override();
  command_
      ->add_option("--check-aggregates", options_.aggregate_check_minutes,
                   "Compare aggregate tables with the facts every so many minutes at the most, for "
                   "/health; 0 is never")
      ->type_name("MINUTES")
      ->check(CLI::Range(0.0, longest_pause_minutes))
      ->capture_default_str();
}

int ServeCommand::run(const CommandEnvironment&) const {
  if (options_.users_file.empty() && !is_insecure_ && !is_loopback(options_.address)) {
    throw ImportError("kcd: others reach '" + options_.address +
                          "', and could ask everything: --users FILE asks them for a login, "
                          "--insecure does without",
                      "kcd", FailureCause::command_line);
  }
  auto options = options_;
  if (command_->count("--admin-port") > 0) {
    options.admin_port = admin_port_;
  }
  become_engine(engine_command(engine_directory(directory_), options));
}

}  // namespace

std::unique_ptr<const Command> make_serve_command(CLI::App& program) {
  return std::make_unique<const ServeCommand>(program);
}

}  // namespace importkcd
