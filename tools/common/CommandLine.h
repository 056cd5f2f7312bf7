// The command line shared by every `quarn` sub-command. The options every
// command takes are parsed here:
//
//   --config DIR         gateway configuration directory (default:
//                        DefaultConfigDir())
//   --format json|table  one JSON object per line, or an aligned table
//   --help, -h           the command's help
//   --version            the tool's version
//
// A command declares its own options (a flag such as --explain, or an
// option with a value such as --judge N) and gets them back by name; every
// other argument is positional, in order. "-" alone is positional (it
// names standard input), and "--" ends the options. An option that takes a
// value reads it from the next argument or after an "=" in the same one
// ("--format json" or "--format=json").
//
// The hidden flag --list-options asks for the options the command takes,
// one a line, for the shell's completion (see OptionNames()).

#ifndef QUARN_TOOLS_COMMON_COMMANDLINE_H_
#define QUARN_TOOLS_COMMON_COMMANDLINE_H_

#include <map>
#include <string>
#include <vector>

namespace quarn_tool {

enum class Format { kJson, kTable };

// The name of a format as written on the command line: "json", "table".
const char* FormatName(Format format);

class CommandLine {
 public:
  // An option of the command itself, e.g. {"--judge", true}.
  struct Option {
    const char* name;
    bool takes_value;
  };

  // `default_format` holds when --format is not given.
  explicit CommandLine(Format default_format, std::vector<Option> own = {});

  // Parses the arguments after the command's name. Returns false on an
  // unknown option, an option without its value, a flag given a value
  // ("--strict=1") or an unknown format; error() then says which, in one
  // line.
  bool Parse(const std::vector<std::string>& args);
  const std::string& error() const { return error_; }

  bool help() const { return help_; }
  // Whether --version was given.
  bool version() const { return version_; }
  // Whether the hidden --list-options was given.
  bool list_options() const { return list_options_; }
  // Every option the command takes, the common ones first: long names
  // ("--config="), with "=" after those that take a value, and "-h".
  std::vector<std::string> OptionNames() const;
  // The --config value, else DefaultConfigDir().
  std::string config_dir() const;
  Format format() const { return format_; }
  Format default_format() const { return default_format_; }
  bool table() const { return format_ == Format::kTable; }

  // Whether the command's own option `name` was given, and its value (the
  // last one given; `fallback` when absent).
  bool Given(const char* name) const { return own_values_.count(name) != 0; }
  std::string Value(const char* name, const std::string& fallback) const;

  const std::vector<std::string>& positional() const { return positional_; }

 private:
  const Option* FindOwn(const std::string& name) const;
  // Parses the option at args[*i], and its value, which moves *i on when
  // it is the next argument. Returns false after setting error_.
  bool ParseOption(const std::vector<std::string>& args, size_t* i);
  // Takes the option `name`, with `value` when it takes one. Returns false
  // after setting error_.
  bool Apply(const std::string& name, const std::string& value);

  Format default_format_;
  std::vector<Option> own_;
  std::string error_;
  bool help_ = false;
  bool version_ = false;
  bool list_options_ = false;
  std::string config_dir_;
  Format format_;
  std::map<std::string, std::string> own_values_;
  std::vector<std::string> positional_;
};

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_COMMON_COMMANDLINE_H_
