#include "cli/help_format.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

#include "cli/exit_status.h"

namespace zrcli {

namespace {

constexpr std::size_t kLineWidth = 80;

std::string pathOf(const CLI::App* app) {
  return app->get_parent() == nullptr ? app->get_name() : pathOf(app->get_parent()) + ' ' + app->get_name();
}

std::string summaryOf(const CLI::App* app) {
  const std::string text = app->get_description();
  return text.substr(0, text.find('\n'));
}

std::string firstSentence(const std::string& text) {
  std::string sentence = text.substr(0, text.find(". "));
  if (sentence.ends_with('.')) sentence.pop_back();
  return sentence;
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

// `heading` in front of a paragraph that begins in column `indent`, on the same line where it has room.
std::string hung(const std::string& heading, const std::string& paragraph, std::size_t indent) {
  const std::string text = wrapped(paragraph, indent);
  return heading.size() + 2 > indent || text.empty() ? heading + '\n' + text : heading + text.substr(heading.size());
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

std::string exitStatusSection() {
  std::string text = "\nEXIT STATUS\n";
  for (const auto& [status, meaning] : kExitStatusMeanings)
    text += hung("    " + std::to_string(status), meaning, 8);
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
         exitStatusSection();
}

std::string shortUsage(const CLI::App& app) {
  constexpr std::size_t kColumn = 28;
  std::string text = "usage: " + synopsis(&app) + "\n\n" + firstSentence(summaryOf(&app)) + "\n\n";
  for (const CLI::App* command : commandsOf(&app))
    text += hung("  " + command->get_name(), firstSentence(summaryOf(command)), kColumn);
  for (const CLI::Option* option : app.get_options())
    text += hung("  " + headingOf(option), firstSentence(option->get_description()), kColumn);
  const std::string path = pathOf(&app);
  const std::string ofCommands =
      path.substr(0, path.find(' ')) + " help" + path.substr(std::min(path.find(' '), path.size()));
  if (!commandsOf(&app).empty()) text += "\n'" + ofCommands + " COMMAND' shows what a command takes.";
  return text + "\n'" + path + " --help' says more.\n";
}

}  // namespace zrcli
