// The run's metadata for the JSON results and the environment check before the first test.
#pragma once
#include <string>
#include <vector>

// Looks at what disturbs measurements, prints one warning line per finding and returns them.
std::vector<std::string> qmCheckEnvironment();
// Fills the JSON metadata known at the start of the run (after the library is initialised).
void qmJsonRunStart(const std::vector<std::string>& findings);
// Adds end time and load, then writes every JSON file of the run.
void qmJsonRunEnd();
// "2026-11-25T21:00:00Z"
std::string qmIsoTime(long long seconds);
