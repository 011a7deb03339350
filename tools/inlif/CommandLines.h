// The command line of each command: its name, its options and their help. Each function adds one command to the
// program and lets the parser fill the options, which outlive it.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/agent/AgentCommand.h"
#include "tools/check/CheckCommand.h"
#include "tools/config/ConfigCommand.h"
#include "tools/demo/DemoCommand.h"
#include "tools/dump/DumpCommand.h"
#include "tools/dump/LoadCommand.h"
#include "tools/inspect/InspectCommand.h"
#include "tools/inspect/TypesCommand.h"
#include "tools/metrics/MetricsCommand.h"
#include "tools/show/LogCommand.h"
#include "tools/show/RetryCommand.h"
#include "tools/show/ShowCommand.h"
#include "tools/show/TraceCommand.h"
#include "tools/show/WhyCommand.h"
#include "tools/top/TopCommand.h"
#include "tools/torture/TortureCommand.h"
#include "tools/writer/WriterCommand.h"

namespace Inlif {

CLI::App* addAgent(CLI::App& app, AgentOptions& options);
CLI::App* addWriter(CLI::App& app, WriterOptions& options);
CLI::App* addShow(CLI::App& app, ShowOptions& options);
CLI::App* addCheck(CLI::App& app, CheckOptions& options);
CLI::App* addConfig(CLI::App& app, ConfigCommandOptions& options);
CLI::App* addInspect(CLI::App& app, InspectOptions& options);
CLI::App* addTypes(CLI::App& app, TypesOptions& options);
CLI::App* addDemo(CLI::App& app, DemoOptions& options);
CLI::App* addTorture(CLI::App& app, TortureOptions& options);
CLI::App* addWhy(CLI::App& app, WhyOptions& options);
CLI::App* addRetry(CLI::App& app, RetryOptions& options);
CLI::App* addLog(CLI::App& app, LogOptions& options);
CLI::App* addCompletion(CLI::App& app, std::string& shell);
CLI::App* addManual(CLI::App& app, std::string& directory);
CLI::App* addDump(CLI::App& app, ShowOptions& options);
CLI::App* addMetrics(CLI::App& app, MetricsOptions& options);
CLI::App* addTraceCommand(CLI::App& app, TraceOptions& options);
CLI::App* addTop(CLI::App& app, TopOptions& options);
CLI::App* addLoad(CLI::App& app, LoadOptions& options);

}  // namespace Inlif
