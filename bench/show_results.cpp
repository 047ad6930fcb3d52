// Joins the results of the measuring programs to one table.
//
//   show_results AIMS RESULTS.json...
//
// AIMS has a line for each comparison, its columns separated by tabs: program, measurement, what is compared
// ("time", or the name of a counter), the measurement that it is compared with, and how many times that it may
// be at most ("-" where there is no aim). Lines that begin with "#" are not read. A comparison whose
// measurements are not there is an error, so that no aim is lost when a measurement gets another name.
//
// Each measurement was repeated; its smallest time counts, since others only ever add to it.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

[[noreturn]] void Fail(const std::string& what) {
  std::cerr << "show_results: " << what << '\n';
  std::exit(1);
}

// ---- What is read ----------------------------------------------------------------------------------------

struct Measurement {
  std::string program;
  std::string name;
  std::string label;
  std::map<std::string, double> values;  // "time" in nanoseconds, and the counters
};

using Measurements = std::vector<Measurement>;

Measurement* Find(Measurements& all, std::string_view program, std::string_view name) {
  const auto found = std::ranges::find_if(
      all, [&](const Measurement& m) { return m.program == program && m.name == name; });
  return found == all.end() ? nullptr : &*found;
}

// In nanoseconds: of the command that a program has run, else of its own.
double CpuTime(const nlohmann::json& result) {
  static const std::map<std::string, double> kUnits = {
      {"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"s", 1e9}};
  if (const auto command = result.find("command_cpu_seconds"); command != result.end()) {
    return command->get<double>() * 1e9;
  }
  return result.at("cpu_time").get<double>() * kUnits.at(result.at("time_unit"));
}

void TakeResult(const std::string& program, const nlohmann::json& result, Measurements& all) {
  if (result.at("run_type") != "iteration") return;
  if (result.contains("error_occurred"))
    Fail(program + ": " + result.at("error_message").get<std::string>());
  const std::string name = result.at("run_name");
  const double time = CpuTime(result);
  if (Measurement* known = Find(all, program, name)) {
    known->values["time"] = std::min(known->values["time"], time);
    return;
  }
  Measurement measurement = {program, name, result.value("label", ""), {{"time", time}}};
  for (const char* counter : {"peak_bytes", "wall_seconds"}) {
    if (result.contains(counter)) measurement.values[counter] = result.at(counter);
  }
  all.push_back(measurement);
}

void TakeFile(const std::string& path, Measurements& all) {
  std::ifstream file(path);
  const nlohmann::json results = nlohmann::json::parse(file, nullptr, false);
  if (results.is_discarded()) Fail(path + " holds no results");
  std::string program = results.at("context").at("executable");
  program.erase(0, program.rfind('/') + 1);
  for (const nlohmann::json& result : results.at("benchmarks")) TakeResult(program, result, all);
}

struct Comparison {
  std::string program;
  std::string measurement;
  std::string what;
  std::string baseline;
  std::string aim;
};

std::vector<Comparison> Comparisons(const std::string& path) {
  std::ifstream file(path);
  if (!file) Fail(path + " cannot be read");
  std::vector<Comparison> all;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.front() == '#') continue;
    std::istringstream columns(line);
    Comparison comparison;
    for (std::string* column : {&comparison.program, &comparison.measurement, &comparison.what,
                                &comparison.baseline, &comparison.aim}) {
      if (!std::getline(columns, *column, '\t')) Fail(path + ": a column is missing: " + line);
    }
    all.push_back(comparison);
  }
  return all;
}

// ---- What is shown ---------------------------------------------------------------------------------------

std::string Formatted(const char* format, double number) {
  char text[64];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

std::string TimeText(double nanoseconds) {
  if (nanoseconds < 1e3) return Formatted("%.1f ns", nanoseconds);
  if (nanoseconds < 1e6) return Formatted("%.2f us", nanoseconds / 1e3);
  if (nanoseconds < 1e9) return Formatted("%.2f ms", nanoseconds / 1e6);
  return Formatted("%.2f s", nanoseconds / 1e9);
}

std::string BytesText(double bytes) {
  return bytes < 1048576 ? Formatted("%.1f KiB", bytes / 1024)
                         : Formatted("%.1f MiB", bytes / 1048576);
}

std::string ValueText(const Measurement& measurement, const std::string& what) {
  const double value = measurement.values.at(what);
  return what == "time" ? TimeText(value) : BytesText(value);
}

// "Read/cards/20000": what is measured, and the size, which is its last part when that is a number.
std::pair<std::string, std::string> NameAndSize(const std::string& name) {
  const size_t slash = name.rfind('/');
  if (slash == std::string::npos) return {name, ""};
  const std::string last = name.substr(slash + 1);
  const bool is_number = last.find_first_not_of("0123456789") == std::string::npos;
  return is_number ? std::pair(name.substr(0, slash), last) : std::pair(name, std::string());
}

// Options that the name of a measurement ends in tell nothing about it.
std::string WithoutOptions(std::string name) {
  name.erase(std::min(name.find("/iterations:"), name.size()));
  return name.erase(std::min(name.find("/min_time:"), name.size()));
}

void PrintRow(const std::string& program, const std::string& name, const std::string& size,
              const std::string& value, const std::string& comparison) {
  std::printf("%-16s %-46s %8s %10s  %s\n", program.c_str(), name.c_str(), size.c_str(),
              value.c_str(), comparison.c_str());
}

std::string ComparisonText(const Comparison& comparison, double ratio, int& missed) {
  std::string text = Formatted("%7.2f x ", ratio) + comparison.baseline;
  if (comparison.aim == "-") return text;
  const bool is_reached = ratio <= std::stod(comparison.aim);
  missed += is_reached ? 0 : 1;
  return text + ", aim " + comparison.aim + (is_reached ? ": reached" : ": MISSED");
}

// The rows of a measurement say each value once, beside the first of its comparisons.
struct ShownValues {
  explicit ShownValues(const Measurement& measurement) : measurement_(measurement) {}

  std::string Next(const std::string& what) {
    const bool is_shown = what == last_;
    last_ = what;
    return is_shown ? "" : ValueText(measurement_, what);
  }

 private:
  const Measurement& measurement_;
  std::string last_;
};

// What a row tells of a measurement that is compared with nothing.
std::string RemarkOn(const Measurement& measurement) {
  if (!measurement.values.contains("wall_seconds")) return "";
  return "  wall " + TimeText(measurement.values.at("wall_seconds") * 1e9) + ", peak " +
         ValueText(measurement, "peak_bytes");
}

// The measurement's comparisons, a row each; one row without where there is none.
void PrintMeasurement(const Measurement& measurement, Measurements& all,
                      const std::vector<Comparison>& comparisons, int& missed) {
  auto [name, size] = NameAndSize(measurement.name);
  if (!measurement.label.empty()) {
    name += " " + measurement.label;
    size.clear();
  }
  ShownValues values(measurement);
  bool is_first = true;
  const auto print = [&](const std::string& what, const std::string& remark) {
    PrintRow(is_first ? measurement.program : "", is_first ? name : "", is_first ? size : "",
             values.Next(what), remark);
    is_first = false;
  };
  const bool is_of_memory = measurement.program == "memory_bench";
  if (const std::string remark = RemarkOn(measurement); !remark.empty()) print("time", remark);
  for (const Comparison& comparison : comparisons) {
    if (comparison.program != measurement.program || comparison.measurement != measurement.name) {
      continue;
    }
    const Measurement* baseline = Find(all, comparison.program, comparison.baseline);
    const double ratio =
        measurement.values.at(comparison.what) / baseline->values.at(comparison.what);
    print(comparison.what, ComparisonText(comparison, ratio, missed));
  }
  if (is_first) print(is_of_memory ? "peak_bytes" : "time", "");
}

void CheckThatAllAreThere(const std::vector<Comparison>& comparisons, Measurements& all) {
  for (const Comparison& comparison : comparisons) {
    for (const std::string& name : {comparison.measurement, comparison.baseline}) {
      const Measurement* found = Find(all, comparison.program, name);
      if (found == nullptr || !found->values.contains(comparison.what)) {
        Fail(comparison.program + " has not measured " + name + " (" + comparison.what + ")");
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) Fail("usage: show_results AIMS RESULTS.json...");
  Measurements all;
  for (int i = 2; i < argc; ++i) TakeFile(argv[i], all);
  for (Measurement& measurement : all) measurement.name = WithoutOptions(measurement.name);
  const std::vector<Comparison> comparisons = Comparisons(argv[1]);
  CheckThatAllAreThere(comparisons, all);
  PrintRow("program", "measurement", "size", "CPU or peak", "  ratio");
  int missed = 0;
  for (const Measurement& measurement : all)
    PrintMeasurement(measurement, all, comparisons, missed);
  const auto has_aim = [](const Comparison& comparison) { return comparison.aim != "-"; };
  std::printf("\n%d of %d aims were missed\n", missed,
              static_cast<int>(std::ranges::count_if(comparisons, has_aim)));
}
