#pragma once

#include <vector>

#include "tests/olap/question.h"

namespace importkcd::testing {

/// Questions to each cube of the sales example; the SQL, for PostgreSQL and MariaDB, goes to
/// sales_views.
std::vector<Question> sales_questions();
std::vector<Question> stock_questions();
std::vector<Question> payroll_questions();

}  // namespace importkcd::testing
