#include "shell/ScriptRunner.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "common/Alert.h"
#include "common/ChildProcess.h"
#include "common/AppDirectories.h"
#include "common/Logger.h"
#include "query/commands/ScriptCommand.h"

namespace velmora {

std::vector<std::pair<std::string, std::filesystem::path>> ScriptRunner::availableScripts() {
  return ScriptCommandFactory::scripts(AppDirectories::applicationScriptsDirectory());
}

ScriptRunner::Outcome ScriptRunner::runAndWait(const std::filesystem::path& script,
                                               const std::vector<std::string>& files) {
  Outcome outcome;
  struct stat info;
  if (::stat(script.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
    outcome.error = "The script \"" + script.filename().string() + "\" could not be found.";
    return outcome;
  }
  // A script without the execute bit is still run, by the shell.
  std::vector<std::string> arguments;
  if (::access(script.c_str(), X_OK) != 0) arguments.push_back("/bin/sh");
  arguments.push_back(script.string());
  arguments.insert(arguments.end(), files.begin(), files.end());
  auto started = ChildProcess::spawnQuietly(std::move(arguments), /*searchPath=*/false);
  if (!started) {
    outcome.error = "The script \"" + script.filename().string() + "\" could not be started: " +
                    std::strerror(started.error);
    return outcome;
  }
  outcome.started = true;
  int status = ChildProcess::waitForExit(started.pid);
  if (WIFEXITED(status)) {
    outcome.exitStatus = WEXITSTATUS(status);
    if (outcome.exitStatus != 0)
      outcome.error = "The script \"" + script.filename().string() + "\" ended with status " +
                      std::to_string(outcome.exitStatus) + ".";
  } else {
    outcome.error = "The script \"" + script.filename().string() + "\" was stopped by a signal.";
  }
  return outcome;
}

void ScriptRunner::run(const std::filesystem::path& script, const std::vector<std::string>& files,
                       Completion completion) {
  std::thread([script, files, completion = std::move(completion)] {
    Outcome outcome = runAndWait(script, files);
    VLOG("script {} on {} files: {}", script.string(), files.size(), outcome.error);
    if (completion) completion(outcome);
  }).detach();
}

void ScriptRunner::run(const ScriptCommand& command, const std::vector<std::string>& files) {
  if (command.type.kind == ScriptCommand::TargetType::Kind::shortcut) {
    Alert::show({"Script", "Shortcuts are not available on this system: \"" + command.type.value + "\".", {}});
    return;
  }
  run(command.type.value, files, [](const Outcome& outcome) {
    if (!outcome.error.empty()) Alert::show({"Script", outcome.error, {}});
  });
}

}  // namespace velmora
