#include "bench/measure.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace bench {
namespace {

int g_missed = 0;
int g_unmeasured = 0;

// Of sorted values, between the two nearest.
double Quantile(const std::vector<double>& sorted, double part) {
  const double place = part * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(place);
  const std::size_t above = std::min(below + 1, sorted.size() - 1);
  return sorted[below] + (sorted[above] - sorted[below]) * (place - static_cast<double>(below));
}

}  // namespace

double Seconds(const Action& action) {
  LARGE_INTEGER frequency = {};
  LARGE_INTEGER start = {};
  LARGE_INTEGER end = {};
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  action();
  QueryPerformanceCounter(&end);
  return static_cast<double>(end.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
}

std::vector<Pair> Interleave(int rounds, const Action& ours, const Action& other, const Action& settle) {
  std::vector<Pair> pairs(static_cast<std::size_t>(rounds));
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    for (const bool isOurs : {i % 2 == 0, i % 2 != 0}) {
      (isOurs ? pairs[i].ours : pairs[i].other) = Seconds(isOurs ? ours : other);
      settle();
    }
  }
  return pairs;
}

std::vector<double> Ratios(const std::vector<Pair>& pairs) {
  std::vector<double> ratios(pairs.size());
  std::transform(pairs.begin(), pairs.end(), ratios.begin(), [](const Pair& pair) { return pair.ours / pair.other; });
  return ratios;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0.0 : Quantile(values, 0.5);
}

void PrintHeading() {
  std::printf("%-46s | %-38s | %7s | %-15s | %5s | %s\n", "Figure", "Against", "Median", "Middle half", "Pairs",
              "Target");
  std::printf("%s\n", (std::string(46, '-') + "-|-" + std::string(38, '-') + "-|-" + std::string(7, '-') + "-|-" +
                       std::string(15, '-') + "-|-" + std::string(5, '-') + "-|-" + std::string(13, '-'))
                          .c_str());
}

void PrintFigure(const std::string& figure, const std::string& against, std::vector<double> ratios, double target) {
  if (ratios.empty() || !std::all_of(ratios.begin(), ratios.end(), [](double ratio) { return std::isfinite(ratio); })) {
    std::printf("%-46s | %-38s | FAILED: no measurement\n", figure.c_str(), against.c_str());
    ++g_unmeasured;
    return;
  }
  std::sort(ratios.begin(), ratios.end());
  const double median = Quantile(ratios, 0.5);
  std::printf("%-46s | %-38s | %7.3f | %6.3f - %6.3f | %5zu | ", figure.c_str(), against.c_str(), median,
              Quantile(ratios, 0.25), Quantile(ratios, 0.75), ratios.size());
  if (target == kNoTarget) {
    std::printf("reported\n");
  } else {
    std::printf("%.2f %s\n", target, median <= target ? "met" : "MISSED");
    g_missed += median > target;
  }
  std::fflush(stdout);
}

int MissedTargets() { return g_missed; }

int UnmeasuredFigures() { return g_unmeasured; }

}  // namespace bench
