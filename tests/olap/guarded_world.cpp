#include "tests/olap/guarded_world.h"

#include <fstream>
#include <memory>
#include <sstream>

#include "base/import_error.h"
#include "tests/olap/http_client.h"

namespace importkcd::testing {
namespace {

std::unique_ptr<GuardedEngine> made_engine;

class GuardedEnvironment : public ::testing::Environment {
 public:
  void TearDown() override { made_engine.reset(); }
};

[[maybe_unused]] const auto* const guarded_environment =
    ::testing::AddGlobalTestEnvironment(new GuardedEnvironment);

}  // namespace

void add_user(const std::string& file, const Login& login) {
  const auto result = GuardedEngine::kcd({"user", "add", file, login.name}, login.password + "\n");
  EXPECT_EQ(result.exit_status, 0) << result.errors;
}

GuardedEngine::GuardedEngine() : service_(KCD_PROGRAM, world().directory(), options()) {}

std::vector<std::string> GuardedEngine::options() const {
  for (const auto& login : {logins::chief, logins::anna, logins::both, logins::nobody}) {
    add_user(users_file(), login);
  }
  std::ofstream(grants_file()) << R"({"chief": {"*": ["*"]},
    "anna": {"Harbour Retail": ["Personnel", "A role of another time"]},
    "both": {"Harbour Retail": ["Personnel", "Store Managers"]}})";
  return {"--users",      users_file(),
          "--grants",     grants_file(),
          "--access-log", folder_.file("access.log"),
          "--admin-port", "0"};
}

XmlaClient GuardedEngine::client(const Login& login) const {
  return XmlaClient(service_.address(), {}, {.user = login.name, .password = login.password});
}

std::string GuardedEngine::refusal(const Login& login, const std::string& mdx,
                                   const std::string& role) const {
  try {
    client(login).execute(mdx, sales_database, role);
  } catch (const ImportError& error) {
    return error.description();
  }
  return {};
}

std::string GuardedEngine::status_with(const std::string& authorization) const {
  const auto answer =
      answer_to(service_.address(),
                http_request(xmla_question(sales_database, "SELECT FROM [Sales]"), "127.0.0.1",
                             "Content-Type: text/xml\r\nAuthorization: " + authorization + "\r\n"));
  return answer.substr(0, answer.find("\r\n"));
}

ProcessResult GuardedEngine::kcd(std::vector<std::string> arguments, const std::string& input) {
  return run_process({KCD_PROGRAM, std::move(arguments), {{"LC_ALL", "C"}}, input, {}});
}

std::vector<nlohmann::json> GuardedEngine::log_with(const std::string& text) const {
  std::string log;
  EXPECT_TRUE(comes_true([&] {
    log = read_file(folder_.file("access.log"));
    return log.find(text) != std::string::npos && log.ends_with('\n');
  })) << log;
  std::vector<nlohmann::json> lines;
  std::istringstream stream(log);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(nlohmann::json::parse(line, nullptr, false));
    EXPECT_FALSE(lines.back().is_discarded()) << line;
  }
  return lines;
}

long GuardedEngine::metric(const std::string& name) const {
  std::string status;
  std::istringstream text(fetched(service_.administration(), "/metrics", &status));
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with(name + " ")) {
      return std::stol(line.substr(name.size() + 1));
    }
  }
  ADD_FAILURE() << "no " << name << " with status " << status;
  return -1;
}

const GuardedEngine& guarded() {
  if (!made_engine) {
    made_engine = std::make_unique<GuardedEngine>();
  }
  return *made_engine;
}

std::string fetched(const std::string& address, const std::string& path, std::string* status) {
  const auto answer = answer_to(address, "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
  *status = answer.substr(0, answer.find("\r\n"));
  const auto body = answer.find("\r\n\r\n");
  return body == std::string::npos ? "" : answer.substr(body + 4);
}

std::string basic(const std::string& name_and_password) {
  constexpr std::string_view digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr unsigned piece = 6;
  constexpr unsigned mask = 63;
  std::string text = "Basic ";
  unsigned bits = 0;
  unsigned count = 0;
  for (const char c : name_and_password) {
    bits = (bits << 8U) | static_cast<unsigned char>(c);
    for (count += 8; count >= piece; count -= piece) {
      text += digits[(bits >> (count - piece)) & mask];
    }
  }
  if (count > 0) {
    text += digits[(bits << (piece - count)) & mask];
  }
  while ((text.size() - std::string_view("Basic ").size()) % 4 != 0) {
    text += '=';
  }
  return text;
}

}  // namespace importkcd::testing
