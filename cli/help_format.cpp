#include "cli/help_format.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

namespace zrcli {

namespace {

constexpr std::size_t kLineWidth = 80;

constexpr const char* kExitStatus = R"(
EXIT STATUS
    0   something applies; the command did its work; every line of a batch was a
        question
    1   nothing applies; config get: not set; config check: there are findings
    64  usage: an option, a command, or a question that is none
    65  a bad row under --strict; a batch with bad lines
    69  the database cannot be reached or opened
    70  internal error, or out of memory
    73  init refused: the tables are there
    74  input or output failed: a full disk, a closed standard output
    78  reached, but it is no policy database, or a newer one
)";

std::string pathOf(const CLI::App* app) {
  return app->get_parent() == nullptr ? app->get_name() : pathOf(app->get_parent()) + ' ' + app->get_name();
}

std::string summaryOf(const CLI::App* app) {
  const std::string text = app->get_description();
  return text.substr(0, text.find('\n'));
}

// The words of one paragraph as lines that begin with `indent` blanks.
std::string wrapped(const std::string& paragraph, std::size_t indent) {
  const std::string margin(indent, ' ');
  std::istringstream words(paragraph);
  std::string text;
  std::string line;
  for (std::string word; words >> word;) {
    if (!line.empty() && indent + line.size() + 1 + word.size() > kLineWidth) {
      text += margin + line + '\n';
      line.clear();
    }
    line += line.empty() ? word : ' ' + word;
  }
  return line.empty() ? text : text + margin + line + '\n';
}

std::string descriptionSection(const CLI::App* app) {
  std::istringstream lines(app->get_description());
  std::string summary;
  std::getline(lines, summary);
  std::string text;
  for (std::string paragraph; std::getline(lines, paragraph);) {
    text += paragraph.empty() ? "\n" : wrapped(paragraph, 4);
  }
  return text.empty() ? text : "\nDESCRIPTION\n" + text;
}

std::vector<const CLI::App*> commandsOf(const CLI::App* app) {
  return app->get_subcommands([](const CLI::App* command) { return !command->get_name().empty(); });
}

std::string synopsis(const CLI::App* app) {
  std::string text = pathOf(app);
  if (!commandsOf(app).empty()) text += " COMMAND";
  text += " [OPTION...]";
  for (const CLI::Option* option : app->get_options([](const CLI::Option* each) { return each->get_positional(); })) {
    const std::string name = option->get_name(true);
    text += option->get_required() ? ' ' + name : " [" + name + ']';
  }
  return text;
}

std::string entry(const std::string& heading, const std::string& description) {
  return "    " + heading + '\n' + wrapped(description, 8);
}

std::string headingOf(const CLI::Option* option) {
  if (option->get_positional()) return option->get_name(true);
  std::string names = option->get_name(false, true);
  for (std::size_t comma = names.find(','); comma != std::string::npos; comma = names.find(',', comma + 2)) {
    names.insert(comma + 1, " ");
  }
  const std::string valueName = option->get_type_name();
  return option->get_type_size() == 0 || valueName.empty() ? names : names + ' ' + valueName;
}

std::string upperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
  return text;
}

std::string optionSections(const CLI::App* app) {
  std::string text;
  for (const std::string& group : app->get_groups()) {
    std::string section;
    for (const CLI::Option* option :
         app->get_options([&group](const CLI::Option* each) { return each->get_group() == group; })) {
      section += entry(headingOf(option), option->get_description());
    }
    if (!group.empty() && !section.empty()) text += '\n' + upperCase(group) + '\n' + section;
  }
  return text;
}

std::string commandSection(const CLI::App* app) {
  std::string text;
  for (const CLI::App* command : commandsOf(app))
    text += entry(command->get_name(), summaryOf(command));
  return text.empty() ? text : "\nCOMMANDS\n" + text;
}

}  // namespace

std::string ManualFormatter::make_help(const CLI::App* app, std::string /*name*/, CLI::AppFormatMode /*mode*/) const {
  const std::string footer = app->get_footer();
  return "NAME\n    " + pathOf(app) + " - " + summaryOf(app) + "\n\nSYNOPSIS\n    " + synopsis(app) + '\n' +
         descriptionSection(app) + commandSection(app) + optionSections(app) + (footer.empty() ? "" : '\n' + footer) +
         kExitStatus;
}

}  // namespace zrcli
