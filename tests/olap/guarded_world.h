#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/olap/olap_world.h"
#include "xmla/xmla_client.h"

namespace importkcd::testing {

/// A user of an engine that asks for logins.
struct Login {
  std::string name;
  std::string password;
};

/// Whoever asks an engine of these tests; each password holds "geheim", to be looked for in logs.
namespace logins {
/// Sees everything.
inline const Login chief{"chief", "geheim-für-alles"};
/// Sees what Personnel sees.
inline const Login anna{"anna", "geheim-anna"};
/// Has two roles.
inline const Login both{"both", "geheim-both"};
/// Has no grant.
inline const Login nobody{"nobody", "geheim-nobody"};
}  // namespace logins

/// Writes a file of users by `kcd user add`.
void add_user(const std::string& file, const Login& login);

/// An engine over the world's directory that asks for logins, with grants from a file, an access
/// log, and health and metrics at a port of their own. Made once, with the first test that asks.
class GuardedEngine {
 public:
  GuardedEngine();

  const OlapService& service() const { return service_; }
  std::string users_file() const { return folder_.file("users"); }
  std::string grants_file() const { return folder_.file("grants.json"); }

  XmlaClient client(const Login& login) const;

  /// What it says when it refuses; empty when it answers.
  std::string refusal(const Login& login, const std::string& mdx,
                      const std::string& role = {}) const;

  /// The status of an answer to a raw request with this header "Authorization".
  std::string status_with(const std::string& authorization) const;

  /// Runs `kcd` with a password on its standard input.
  static ProcessResult kcd(std::vector<std::string> arguments, const std::string& input);

  /// The lines of its access log. Waits for one that holds this text.
  std::vector<nlohmann::json> log_with(const std::string& text) const;

  /// A figure of its metrics.
  long metric(const std::string& name) const;

 private:
  std::vector<std::string> options() const;

  TemporaryFolder folder_;
  OlapService service_;
};

const GuardedEngine& guarded();

/// The body of the answer to GET, behind its head; `status` gets the number.
std::string fetched(const std::string& address, const std::string& path, std::string* status);

/// "Basic ..." for a name and a password, or whatever stands there.
std::string basic(const std::string& name_and_password);

}  // namespace importkcd::testing
