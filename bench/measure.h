// Measuring two sides against each other, and the table of the results.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

using Action = std::function<void()>;

double Seconds(const Action& action);

// What one round of a comparison took.
struct Pair {
  double ours = 0.0;   // seconds
  double other = 0.0;  // seconds
};

// Measures two actions in turn, the first of the two changing places from round to round: what disturbs the machine
// disturbs both. `settle` runs after each, unmeasured.
std::vector<Pair> Interleave(int rounds, const Action& ours, const Action& other, const Action& settle = [] {});

std::vector<double> Ratios(const std::vector<Pair>& pairs);
double Median(std::vector<double> values);

// The most that a median may be; kNoTarget: the figure is only reported.
inline constexpr double kNoTarget = 0.0;

void PrintHeading();
// One line: the median, the middle half and the number of the ratios.
void PrintFigure(const std::string& figure, const std::string& against, std::vector<double> ratios, double target);

// The number of lines whose median was over its target.
int MissedTargets();
// The number of lines without a measurement: what was to be measured failed.
int UnmeasuredFigures();

}  // namespace bench
