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

bool CommandLine::Parse(const std::vector<std::string>& args) {
  bool options_ended = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (options_ended || arg.size() < 2 || arg[0] != '-') {
      positional_.push_back(arg);
      continue;
    }
    if (arg == "--") {
      options_ended = true;
      continue;
    }
    if (arg == "--help" || arg == "-h") {
      help_ = true;
      continue;
    }
    const Option* own = FindOwn(arg);
    const bool takes_value = arg == "--config" || arg == "--format" ||
                             (own != nullptr && own->takes_value);
    if (own == nullptr && !takes_value) {
      error_ = "unknown option: " + arg;
      return false;
    }
    std::string value;
    if (takes_value) {
      if (i + 1 == args.size()) {
        error_ = "option " + arg + " needs a value";
        return false;
      }
      value = args[++i];
    }
    if (arg == "--config") {
      config_dir_ = value;
    } else if (arg == "--format") {
      if (value == "json") {
        format_ = Format::kJson;
      } else if (value == "table") {
        format_ = Format::kTable;
      } else {
        error_ = "unknown format: " + value + " (json or table)";
        return false;
      }
    } else {
      own_values_[arg] = value;
    }
  }
  return true;
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
