// The metrics of a store: their text by the rules, their page, and each fault that an alert looks for.
#include <regex>

#include "Programs.h"

namespace {

using namespace Inlif;

class MetricsTest : public ProgramsTest {
 protected:
  using Samples = std::map<std::string, double>;

  // Checks the text as it takes it apart: each family stands once, with help and type, before its samples.
  Samples samplesOf(std::string const& text) {
    static std::regex const kSample(R"re((inlif_[a-z0-9_]+)(\{([a-z]+="[^"\\]*",?)+\})? (-?[0-9.e+-]+))re");
    Samples samples;
    std::string family, type;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      std::string mark, what, name;
      words >> mark >> what >> name;
      if (line.starts_with("# HELP ")) {
        EXPECT_TRUE(families_.insert(name).second || !samples.contains(name)) << line;
        family = name;
        continue;
      }
      if (line.starts_with("# TYPE ")) {
        EXPECT_EQ(name, family);
        words >> type;
        EXPECT_EQ(type == "counter", name.ends_with("_total")) << line;
        continue;
      }
      std::smatch parts;
      EXPECT_TRUE(std::regex_match(line, parts, kSample)) << line;
      std::string const own = parts[1];
      EXPECT_TRUE(own == family || (type == "summary" && own == family + "_count")) << line;
      EXPECT_TRUE(samples.emplace(own + parts[2].str(), std::stod(parts[4])).second) << line;
    }
    return samples;
  }
  Samples metrics() { return samplesOf(said({"metrics"})); }
  // What stands under a name with any labels.
  static double sum(Samples const& samples, std::string const& name) {
    double all = 0;
    for (auto const& [sample, value] : samples)
      if (sample.starts_with(name + "{") || sample == name) all += value;
    return all;
  }
  void write(int from, int to) {
    for (int key = from; key < to; ++key) ask("write", "InLif1", 5, R"(,"key":)" + std::to_string(key));
  }

  std::set<std::string> families_;
};

constexpr char const* kWriterRuns = "inlif_process_running{role=\"writer\"}";
constexpr char const* kAgentRuns = "inlif_process_running{role=\"agent\"}";
constexpr char const* kBehind = "inlif_versions_behind{table=\"InLif1\"}";
constexpr char const* kLog = "inlif_log_records{table=\"InLif1\"}";

TEST_F(MetricsTest, eachFaultMovesWhatItsAlertLooksAt) {
  std::vector<std::string> drive{"writer", "--store", store_.directory()};
  std::optional<Program> writer;
  writer.emplace(store_.directory(), drive);
  agentStarts();
  makeUnit("InLif1", 5);
  write(0, 10);
  ask(R"("op":"wait")");
  Samples good = metrics();
  EXPECT_EQ(good[kWriterRuns], 1);
  EXPECT_EQ(good[kAgentRuns], 1);
  EXPECT_EQ(good["inlif_agent_answered"], 1);
  EXPECT_EQ(good[kBehind], 0);
  EXPECT_EQ(good["inlif_entries{table=\"InLif1\",unit=\"5\"}"], 10);
  EXPECT_EQ(good["inlif_writes_total{table=\"InLif1\",unit=\"5\"}"], 10);
  EXPECT_EQ(good["inlif_versions_reported_total{table=\"InLif1\"}"], 10);
  EXPECT_EQ(sum(good, "inlif_hardware_failures"), 0);
  EXPECT_GT(good["inlif_operation_duration_seconds{table=\"InLif1\",unit=\"5\",stage=\"toHardware\",quantile="
                 "\"1\"}"],
            0);
  EXPECT_LT(good["inlif_operation_duration_seconds{table=\"InLif1\",unit=\"5\",stage=\"toHardware\",quantile="
                 "\"1\"}"],
            60);

  // The writer dies, and the log fills.
  writer.reset();
  write(10, 60);
  Samples dead = metrics();
  EXPECT_EQ(dead[kWriterRuns], 0);
  EXPECT_EQ(dead[kBehind], 50);
  EXPECT_EQ(dead[kLog] - good[kLog], 50);
  EXPECT_EQ(dead["inlif_log_records_limit{table=\"InLif1\"}"], 1'000'000);
  EXPECT_EQ(dead["inlif_operations_in_log{table=\"InLif1\",unit=\"5\"}"], 50);
  EXPECT_GT(dead["inlif_versions_behind_seconds{table=\"InLif1\"}"], 0);

  // The hardware refuses.
  drive.insert(drive.end(), {"--faults", "2"});
  writer.emplace(store_.directory(), drive);
  EXPECT_TRUE(eventually([&] { return sum(metrics(), "inlif_hardware_failures") > 0; }));

  // A client does not come back, and the next agent has the sweep wait for it.
  ask(R"("op":"client","name":"b\"gp")");
  agentStarts({"--sweep-alarm", "1"});
  makeUnit("InLif1", 5);
  EXPECT_TRUE(eventually([&] { return metrics()["inlif_sweep_alarm"] == 1; }));
  EXPECT_EQ(metrics()["inlif_sweep_waiting_for"], 1);

  // An agent that stands still, and none: what the store tells is told all the same.
  agent_->kill(SIGSTOP);
  Samples still = metrics();
  EXPECT_EQ(still["inlif_agent_answered"], 0);
  EXPECT_EQ(still[kAgentRuns], 1);
  EXPECT_FALSE(still.contains("inlif_sweep_alarm"));
  agent_.reset();
  Samples gone = metrics();
  EXPECT_EQ(gone[kAgentRuns], 0);
  EXPECT_EQ(gone["inlif_entries{table=\"InLif1\",unit=\"5\"}"], 60);

  // The page has every family, and the rules look at nothing else.
  std::string const page = contentsOf(METRICS_PAGE);
  for (std::string const& family : families_) EXPECT_THAT(page, HasSubstr("`" + family + "`"));
  std::string const rules = contentsOf(ALERT_RULES);
  std::regex const name("inlif_[a-z_]+");
  for (std::sregex_iterator at(rules.begin(), rules.end(), name), end; at != end; ++at)
    EXPECT_TRUE(families_.contains(at->str()) || at->str().starts_with("inlif_config_")) << at->str();
}

TEST_F(MetricsTest, aFileIsWholeAndARequestIsAnswered) {
  agent(R"({"op":"unit","id":1,"table":"InLif0","unit":0}
{"op":"quit","id":2})");
  std::string const out = store_.directory() + "/.loam.prom";
  EXPECT_EQ(said({"metrics", "--output", out}), "");
  EXPECT_EQ(samplesOf(contentsOf(out))[kAgentRuns], 0);
  EXPECT_THAT(said({"metrics", "--output", "/nowhere/loam.prom"}, kRefused), HasSubstr("/nowhere/loam.prom"));
  auto const answerTo = [&](std::string const& line) {
    std::string const request = file("request", line + "\r\nHost: switch\r\n\r\n");
    Program scrape(store_.directory(), {"metrics", "--http", "--store", store_.directory()},
                   open(request.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(scrape.join(), 0) << line;
    return scrape.out();
  };
  for (auto const& [line, status] : {std::pair{"POST /metrics HTTP/1.1", "405 "},
                                     {"GET /else HTTP/1.1", "404 "},
                                     {"what", "400 "},
                                     {"HEAD /metrics HTTP/1.1", "200 "}}) {
    std::string const answer = answerTo(line);
    EXPECT_TRUE(answer.starts_with(std::string("HTTP/1.0 ") + status)) << answer;
    EXPECT_EQ(answer.ends_with("\r\n\r\n"), std::string_view(line).starts_with("HEAD")) << answer;
  }
  std::string const answer = answerTo("GET /metrics?all HTTP/1.1");
  EXPECT_TRUE(answer.starts_with("HTTP/1.0 200 OK\r\n"));
  std::size_t const body = answer.find("\r\n\r\n") + 4;
  EXPECT_THAT(answer, HasSubstr("Content-Length: " + std::to_string(answer.size() - body) + "\r\n"));
  EXPECT_EQ(samplesOf(answer.substr(body))[kAgentRuns], 0);
}

}  // namespace
