#include "tools/common/CommandLine.h"

#include <string.h>

#include <utility>

#include "tools/common/GatewayConfig.h"

namespace quarn_tool {

const char* FormatName(Format format) {
  return format == Format::kTable ? "table" : "json";
}

CommandLine::CommandLine(Format default_format, std::vector<Option> own)
    : default_format_(default_format),
      own_(std::move(own)),
      format_(default_format) {}

const CommandLine::Option* CommandLine::FindOwn(const std::string& name) const {
  for (const Option& option : own_) {
    if (name == option.name) return &option;
  }
  return nullptr;
}

namespace {

// The options every command takes besides its own: {name, takes a value}.
const CommandLine::Option kCommonOptions[] = {{"--config", true},
                                              {"--format", true},
                                              {"--help", false},
                                              {"-h", false},
                                              {"--version", false}};

bool TakesValue(const std::string& name) {
  return name == "--config" || name == "--format";
}

}  // namespace

bool CommandLine::Parse(const std::vector<std::string>& args) {
  bool options_ended = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (options_ended || arg.size() < 2 || arg[0] != '-') {
      positional_.push_back(arg);
    } else if (arg == "--") {
      options_ended = true;
    } else if (!ParseOption(args, &i)) {
      return false;
    }
  }
  return true;
}

bool CommandLine::ParseOption(const std::vector<std::string>& args, size_t* i) {
  const std::string& arg = args[*i];
  // "--name=value" carries its value; a short option never does.
  const size_t equals =
      arg.compare(0, 2, "--") == 0 ? arg.find('=') : std::string::npos;
  const std::string name = arg.substr(0, equals);
  const Option* own = FindOwn(name);
  const bool common = name == "--help" || name == "-h" || name == "--version" ||
                      name == "--list-options" || TakesValue(name);
  if (own == nullptr && !common) {
    error_ = "unknown option: " + name;
    return false;
  }
  const bool takes_value =
      TakesValue(name) || (own != nullptr && own->takes_value);
  if (equals != std::string::npos && !takes_value) {
    error_ = "option " + name + " takes no value";
    return false;
  }
  // An empty value after "=" is none; an empty next argument is one.
  std::string value;
  bool has_value = false;
  if (equals != std::string::npos) {
    value = arg.substr(equals + 1);
    has_value = !value.empty();
  } else if (takes_value && *i + 1 < args.size()) {
    value = args[++*i];
    has_value = true;
  }
  if (takes_value && !has_value) {
    error_ = "option " + name + " needs a value";
    return false;
  }
  return Apply(name, value);
}

bool CommandLine::Apply(const std::string& name, const std::string& value) {
  if (name == "--help" || name == "-h") {
    help_ = true;
  } else if (name == "--version") {
    version_ = true;
  } else if (name == "--list-options") {
    list_options_ = true;
  } else if (name == "--config") {
    config_dir_ = value;
  } else if (name == "--format") {
    if (value == "json") {
      format_ = Format::kJson;
    } else if (value == "table") {
      format_ = Format::kTable;
    } else {
      error_ = "unknown format: " + value + " (json or table)";
      return false;
    }
  } else {
    own_values_[name] = value;
  }
  return true;
}

std::vector<std::string> CommandLine::OptionNames() const {
  std::vector<std::string> names;
  for (const Option& option : kCommonOptions) {
    names.push_back(std::string(option.name) + (option.takes_value ? "=" : ""));
  }
  for (const Option& option : own_) {
    names.push_back(std::string(option.name) + (option.takes_value ? "=" : ""));
  }
  return names;
}

std::string CommandLine::config_dir() const {
  return config_dir_.empty() ? DefaultConfigDir() : config_dir_;
}

std::string CommandLine::Value(const char* name,
                               const std::string& fallback) const {
  auto it = own_values_.find(name);
  return it == own_values_.end() ? fallback : it->second;
}

}  // namespace quarn_tool
