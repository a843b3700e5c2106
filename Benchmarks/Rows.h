#pragma once
// The table of hot paths: each row times a stage and, in the same run, what it is measured against.
//
// To add a row, write a source file with one Row in its unnamed namespace, and name the file in
// CMakeLists.txt:
//
//     const Row row("what is done", 1.5, "what stands beside it", [] { return Work{...}; }, [] { return
//     Work{...}; });

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Benchmarks {

/// A piece of work. Before each timed `run` there is a `prepare` that is not timed; it may be empty.
struct Work {
    std::function<void()> run;
    std::function<void()> prepare = {};
};

/// Makes a piece of work; called when its turn comes, several times.
using MakeWork = std::function<Work()>;

/// A row of the table. Constructing one at namespace scope enters it.
class Row {
public:
    /// The median time of `stage` is to be at most `atMost` times that of `beside`, in a process that keeps
    /// freed memory; at most `atMostGivenBack` times in one that gives it back, where that is measured too.
    Row(std::string name, double atMost, std::string besideName, MakeWork stage, MakeWork beside,
        std::optional<double> atMostGivenBack = std::nullopt);

    const std::string& name() const { return name_; }
    const std::string& besideName() const { return besideName_; }
    std::optional<double> atMost() const { return atMost_; }
    std::optional<double> atMostGivenBack() const { return atMostGivenBack_; }

    /// The names under which the two run.
    std::string stageBenchmark() const { return name_ + "/stage"; }
    std::string besideBenchmark() const { return name_ + "/beside"; }

private:
    std::string name_;
    std::string besideName_;
    double atMost_;
    std::optional<double> atMostGivenBack_;
};

/// All rows that were entered.
const std::vector<Row>& rows();

} // namespace Benchmarks
