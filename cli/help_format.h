#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace zrcli {

// Makes `--help` read like a manual page. Of a command's description the first line is its summary, the paragraphs
// behind it are the section DESCRIPTION; its footer holds further sections, ready to be printed. Each option group is a
// section of its own, and the exit statuses end every page.
class ManualFormatter : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;
};

// What a command takes, a line or two each: its commands as "  NAME  SUMMARY", then its options as "  --NAME VALUE
// TEXT" with the first sentence of their description. The completion for shells reads these lines.
std::string shortUsage(const CLI::App& app);

}  // namespace zrcli
