// `velmora prefs list | get KEY | set KEY VALUE | reset KEY`: the settings,
// typed by their defaults.
#include <CLI/CLI.hpp>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "app/CliRegistry.h"
#include "common/JSONText.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"

namespace velmora::app {

namespace {

using nlohmann::json;
using Type = Preferences::ValueType;

const char* typeName(Type type) {
  switch (type) {
    case Type::boolean:
      return "true or false";
    case Type::integer:
      return "a whole number";
    case Type::real:
      return "a number";
    case Type::text:
      return "text";
  }
  return "?";
}

std::optional<json> parseTyped(Type type, const std::string& text) {
  switch (type) {
    case Type::boolean:
      if (text == "true" || text == "yes" || text == "on" || text == "1") return json(true);
      if (text == "false" || text == "no" || text == "off" || text == "0") return json(false);
      return std::nullopt;
    case Type::integer: {
      if (text.empty()) return std::nullopt;
      char* end = nullptr;
      errno = 0;
      long long value = std::strtoll(text.c_str(), &end, 10);
      if (*end != '\0' || errno == ERANGE) return std::nullopt;
      return json(value);
    }
    case Type::real: {
      if (text.empty()) return std::nullopt;
      char* end = nullptr;
      errno = 0;
      double value = std::strtod(text.c_str(), &end);
      // "inf" and "nan" parse, but no setting can hold them (JSON has no such numbers).
      if (*end != '\0' || errno == ERANGE || !std::isfinite(value)) return std::nullopt;
      return json(value);
    }
    case Type::text:
      return json(text);
  }
  return std::nullopt;
}

// Text as the user typed it: strings without quotes.
std::string shown(const json& value) { return value.is_string() ? value.get<std::string>() : JSONText::dump(value); }

// The value as its type reads it (an absent key reads as false, 0 or "").
json typedValue(const Preferences::KeyInfo& info) {
  auto& store = PreferenceStore::shared();
  switch (info.type) {
    case Type::boolean:
      return store.boolForKey(info.key);
    case Type::integer:
      return store.integerForKey(info.key);
    case Type::real:
      return store.doubleForKey(info.key);
    case Type::text:
      return store.stringForKey(info.key);
  }
  return nullptr;
}

const Preferences::KeyInfo* knownOrComplain(const std::string& key) {
  const auto* info = Preferences::keyInfo(key);
  if (!info) std::cerr << "velmora prefs: unknown setting \"" << key << "\" (see `velmora prefs list`)\n";
  return info;
}

// Says on standard error why the file's values are not in use; false when
// they could not be read at all, so that nothing shown would be the user's.
bool reportLoadProblem() {
  Status status = PreferenceStore::shared().loadStatus();
  if (status.ok()) return true;
  std::cerr << "velmora prefs: " << status.message() << "\n";
  return status.code() == Status::Code::corruption;
}

int runList() {
  if (!reportLoadProblem()) return 1;
  auto& store = PreferenceStore::shared();
  for (const auto& info : Preferences::knownKeys())
    std::cout << info.key << " = " << shown(typedValue(info)) << (store.hasUserValue(info.key) ? "" : " (default)")
              << "\n";
  return 0;
}

int runGet(const std::string& key) {
  const auto* info = knownOrComplain(key);
  if (!info) return 2;
  if (!reportLoadProblem()) return 1;
  std::cout << shown(typedValue(*info)) << "\n";
  return 0;
}

int runSet(const std::string& key, const std::string& text) {
  const auto* info = knownOrComplain(key);
  if (!info) return 2;
  auto value = parseTyped(info->type, text);
  if (!value || !Preferences::accepts(*info, *value)) {
    std::string range = Preferences::rangeText(*info);
    std::string takes = info->choices.empty() ? typeName(info->type) + std::string(range.empty() ? "" : " ") + range
                                              : range;
    std::cerr << "velmora prefs: \"" << key << "\" takes " << takes << ", not \"" << text << "\"\n";
    return 2;
  }
  // An unreadable file is reported by the refusal below; a damaged one here.
  if (PreferenceStore::shared().loadStatus().code() == Status::Code::corruption) reportLoadProblem();
  if (Status status = PreferenceStore::shared().setValue(key, *value); !status.ok()) {
    std::cerr << "velmora prefs: the setting was not saved: " << status.message() << "\n";
    return 1;
  }
  return 0;
}

int runReset(const std::string& key) {
  if (!knownOrComplain(key)) return 2;
  // An unreadable file is reported by the refusal below; a damaged one here.
  if (PreferenceStore::shared().loadStatus().code() == Status::Code::corruption) reportLoadProblem();
  if (Status status = PreferenceStore::shared().removeValue(key); !status.ok()) {
    std::cerr << "velmora prefs: the setting was not reset: " << status.message() << "\n";
    return 1;
  }
  return 0;
}

const bool registered = registerCli(70, [](CLI::App& root, CliContext& context) {
  CLI::App* prefs = root.add_subcommand("prefs", "show and change settings");
  prefs->require_subcommand(1);
  // Settings read through the defaults, which are never written to the file.
  prefs->parse_complete_callback(
      [] { PreferenceStore::shared().registerDefaults(Preferences::defaultsDictionary()); });

  prefs->add_subcommand("list", "every setting with its value; \"(default)\" marks values not set by you")
      ->callback([&context] { context.exitCode = runList(); });

  auto key = std::make_shared<std::string>();
  auto value = std::make_shared<std::string>();
  CLI::App* get = prefs->add_subcommand("get", "print one setting");
  get->add_option("KEY", *key, "the setting's name")->required();
  get->callback([&context, key] { context.exitCode = runGet(*key); });

  CLI::App* set = prefs->add_subcommand("set", "change one setting (true/false, a number or text, by the setting)");
  set->add_option("KEY", *key, "the setting's name")->required();
  set->add_option("VALUE", *value, "the new value")->required();
  set->callback([&context, key, value] { context.exitCode = runSet(*key, *value); });

  CLI::App* reset = prefs->add_subcommand("reset", "return one setting to its default");
  reset->add_option("KEY", *key, "the setting's name")->required();
  reset->callback([&context, key] { context.exitCode = runReset(*key); });
});

}  // namespace

}  // namespace velmora::app
