#pragma once

#include <stdexcept>

namespace importkcd {

/// A command line value that cannot be converted. Nothing traps it during start-up: the program
/// shows what() in a message box and ends. what() never repeats the value, which may be a password.
class StartUpError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace importkcd
