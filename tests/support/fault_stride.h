#pragma once

namespace importkcd::testing {

/// How far the next fault that a sweep tries is from the last one: `usual`, unless the variable
/// IMPORTKCD_FAULTS_STRIDE says otherwise; 1 tries all. The test fails when it says nonsense.
int stride_of_faults(int usual);

}  // namespace importkcd::testing
