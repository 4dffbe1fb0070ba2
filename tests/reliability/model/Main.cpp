// The model-based random test: random sequences of the store's public
// operations run against the library and against the reference model; any
// disagreement is reported with the seed, the step and a shrunk sequence
// that still shows it.
//
// Usage: model_campaign [--seed N] [--steps N] [--minutes N] [--no-shrink]
// --minutes ends a long run early, after that many minutes, with its figures.
#include <corvconfigstore/Logger.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Campaign.h"
#include "Generator.h"

using namespace ModelCampaign;

namespace {

struct Arguments {
  unsigned long long seed = 0;
  bool seedGiven = false;
  long long steps = 2000;
  long long minutes = 0;  // 0: no time limit
  bool shrink = true;
};

bool ParseArguments(int argc, char** argv, Arguments& arguments) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--no-shrink") {
      arguments.shrink = false;
    } else if ((arg == "--seed" || arg == "--steps" || arg == "--minutes") && i + 1 < argc) {
      char* end = nullptr;
      unsigned long long n = std::strtoull(argv[++i], &end, 10);
      if (*end != '\0') return false;
      if (arg == "--seed") {
        arguments.seed = n;
        arguments.seedGiven = true;
      } else if (arg == "--steps") {
        arguments.steps = static_cast<long long>(n);
      } else {
        arguments.minutes = static_cast<long long>(n);
      }
    } else {
      return false;
    }
  }
  return true;
}

// The steps the run drew up to and including index: drawn again from the
// seed, the model alone deciding what may run.
std::vector<Step> Regenerate(unsigned long long seed, long long index) {
  Generator generator(seed);
  Model model;
  std::vector<Step> steps;
  for (long long i = 0; i <= index; ++i) {
    steps.push_back(generator.Next(model));
    model.Apply(steps.back());
  }
  return steps;
}

// Runs a fixed sequence; the index of the failing step, or -1.
long long Replay(const std::vector<Step>& steps, std::string* report) {
  Figures ignored;
  return RunSequence(
      [&steps](long long index, const Model&, Step& step) {
        if (index >= static_cast<long long>(steps.size())) return false;
        step = steps[index];
        return true;
      },
      ignored, report);
}

// Removes steps while the sequence still fails (delta debugging: chunks of
// halving size), within a time budget.
std::vector<Step> Shrink(std::vector<Step> steps, std::string& report) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
  int replays = 0;
  size_t parts = 2;
  while (steps.size() > 1 && std::chrono::steady_clock::now() < deadline) {
    const size_t chunk = (steps.size() + parts - 1) / parts;
    bool reduced = false;
    for (size_t start = 0; start < steps.size(); start += chunk) {
      std::vector<Step> candidate(steps.begin(), steps.begin() + start);
      candidate.insert(candidate.end(),
                       steps.begin() + std::min(steps.size(), start + chunk), steps.end());
      std::string candidateReport;
      ++replays;
      long long failed = Replay(candidate, &candidateReport);
      if (failed >= 0) {
        candidate.resize(static_cast<size_t>(failed) + 1);
        steps = candidate;
        report = candidateReport;
        parts = std::max<size_t>(parts - 1, 2);
        reduced = true;
        break;
      }
      if (std::chrono::steady_clock::now() >= deadline) break;
    }
    if (!reduced) {
      if (parts >= steps.size()) break;
      parts = std::min(steps.size(), parts * 2);
    }
  }
  std::printf("shrinking: %d replays\n", replays);
  return steps;
}

void PrintFigures(const Figures& figures, double seconds) {
  std::printf("steps: %lld (%.1f s, %.0f steps/s)\n", figures.steps, seconds,
              seconds > 0 ? figures.steps / seconds : 0.0);
  std::printf("operations per kind:\n");
  for (int op = 0; op < static_cast<int>(Op::kCount); ++op)
    std::printf("  %-26s %lld\n", OpName(static_cast<Op>(op)), figures.perOp[op]);
  std::printf("refusals (alike on both sides): %lld\n", figures.refusals);
  for (const auto& reason : figures.refusalsByReason)
    std::printf("  %8lld %s\n", reason.second, reason.first.c_str());
  std::printf("checks made: %lld\n", figures.checks);
  std::printf("steps after which the store held: an unconfirmed user value %lld, a pending "
              "desired value %lld, a next-boot value %lld, a next-boot deletion %lld; inside "
              "a transaction %lld\n",
              figures.unconfirmedRows, figures.desiredRows, figures.nextBootValues,
              figures.nextBootDeletions, figures.inTransaction);
  std::printf("disagreements: %lld\n", figures.disagreements);
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  if (!ParseArguments(argc, argv, arguments)) {
    std::fprintf(stderr, "usage: %s [--seed N] [--steps N] [--minutes N] [--no-shrink]\n", argv[0]);
    return 2;
  }
  if (!arguments.seedGiven)
    arguments.seed = static_cast<unsigned long long>(
        std::chrono::system_clock::now().time_since_epoch().count());
  // Refusals are expected by the thousand; their log lines are not wanted.
  CorvConfigStore::CSLogger::SetSink([](int, const std::string&) {});

  std::printf("model campaign: seed %llu, %lld steps\n", arguments.seed, arguments.steps);
  std::fflush(stdout);
  Generator generator(arguments.seed);
  Figures figures;
  std::string report;
  const auto start = std::chrono::steady_clock::now();
  const auto end = start + std::chrono::minutes(arguments.minutes);
  const long long progressEvery = arguments.steps >= 100000 ? 10000 : 0;
  long long failed = RunSequence(
      [&](long long index, const Model& model, Step& step) {
        if (index >= arguments.steps) return false;
        if (arguments.minutes > 0 && std::chrono::steady_clock::now() >= end) {
          std::printf("time limit of %lld minutes reached\n", arguments.minutes);
          return false;
        }
        if (progressEvery && index > 0 && index % progressEvery == 0) {
          std::printf("  %lld steps, %lld checks\n", index, figures.checks);
          std::fflush(stdout);
        }
        step = generator.Next(model);
        return true;
      },
      figures, &report);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  PrintFigures(figures, seconds);
  if (failed < 0) return 0;

  std::printf("DISAGREEMENT (seed %llu; rerun with --seed %llu --steps %lld)\n%s",
              arguments.seed, arguments.seed, failed + 1, report.c_str());
  if (arguments.shrink) {
    std::vector<Step> steps = Shrink(Regenerate(arguments.seed, failed), report);
    std::printf("shrunk to %zu steps:\n", steps.size());
    for (size_t i = 0; i < steps.size(); ++i) std::printf("  %zu. %s\n", i, steps[i].Text().c_str());
    std::printf("%s", report.c_str());
  }
  return 1;
}
