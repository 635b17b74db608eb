#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace importkcd::testing {

/// A question to a cube and the same question to its tables.
struct Question {
  std::string name;
  std::string mdx;
  std::string sql;
};

inline void PrintTo(const Question& question, std::ostream* out) { *out << question.name; }

/// For the names of tests.
inline std::string question_name(const ::testing::TestParamInfo<Question>& tested) {
  return tested.param.name;
}

}  // namespace importkcd::testing
