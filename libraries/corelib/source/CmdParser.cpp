#include "CmdParser.h"

#include <algorithm>
#include <compare>
#include <string_view>
#include <tuple>
#include <utility>

#include "Logger.h"
#include "Release.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

const unsigned long OptionIndent = 9;        // columns of an entry beyond the widest option
const unsigned long DescriptionIndent = 11;  // the same with the ": " behind them
const unsigned long DescriptionWidth = 69;   // columns of a description and the widest option

bool takesValue(CmdParser::ArgumentType type) {
    return type != CmdParser::ValueArgument && type != CmdParser::OptionOnly;
}

// An empty form stands for none and matches nothing.
bool bears(const CmdParser::ArgumentSpec& spec, char shortForm) {
    return shortForm != 0 && spec.shortForm == shortForm;
}

bool bears(const CmdParser::ArgumentSpec& spec, const std::string& longForm) {
    return !longForm.empty() && spec.longForm == longForm;
}

template <class Container, class Form>
const typename Container::value_type* findForm(const Container& specs, const Form& form) {
    const auto found = std::ranges::find_if(specs, [&form](const auto& spec) { return bears(spec, form); });
    return found == specs.end() ? nullptr : &*found;
}

template <class Form>
bool findValue(const std::set<CmdParser::ArgumentDef>& options, const Form& form, std::string& value) {
    const CmdParser::ArgumentDef* found = findForm(options, form);
    if (found)
        value = found->value;
    return found;
}

template <class Form>
bool findNumber(const std::set<CmdParser::ArgumentDef>& options, const Form& form, int& number,
                const std::map<std::string, int>& numbers) {
    std::string value;
    if (!findValue(options, form, value))
        return false;
    const auto mapped = numbers.find(value);
    if (mapped == numbers.end())
        return false;
    number = mapped->second;
    return true;
}

}  // namespace

int CmdParser::ArgumentSpec::compare(const ArgumentSpec& other) const {
    const auto key = [](const ArgumentSpec& spec) {
        return std::tuple(spec.type, spec.shortForm == 0, spec.shortForm, spec.longForm.empty(),
                          std::string_view(spec.longForm));
    };
    const auto order = key(*this) <=> key(other);
    return std::is_gt(order) - std::is_lt(order);
}

CmdParser::CmdParser() : version(REL_VERSION), revision(REL_REVISION) {}

CmdParser::CmdParser(const std::string& label, bool options) : CmdParser() {
    init(label, options, false, false);
}

void CmdParser::init(const std::string& label, bool options, bool extraWords, bool fileOptions) {
    executable = label;
    acceptExtraWords = extraWords;
    if (std::exchange(initialized, true) || !options)
        return;
    specifyOptionOnlyArg("help", '?', "Display this help text");
    if (!version.empty())
        specifyOptionOnlyArg("version", 0, "Display version information");
    if (!revision.empty())
        specifyOptionOnlyArg("revision", 0, "Display SVN revision information");
    specifyOptionWithValueArg("debug", 0, "Set debug level");
    if (fileOptions) {
        specifyOptionWithValueArg("", 'c', "Specify configuration file explicitly");
        specifyOptionWithValueArg("filereg", 0, "Specify alternate file registry");
    }
}

bool CmdParser::specifyValueArg(const std::string& label, const std::string& description) {
    if (!specify("", ValueArgument, 0, description, {}))
        return false;
    valueSpecs.back().label = label;
    return true;
}

bool CmdParser::specifyOptionOnlyArg(const std::string& longForm, char shortForm,
                                     const std::string& description) {
    return specify(longForm, OptionOnly, shortForm, description, {});
}

bool CmdParser::specifyOptionWithValueArg(const std::string& longForm, char shortForm,
                                          const std::string& description,
                                          const std::set<std::string>& allowed) {
    return specify(longForm, OptionWithValue, shortForm, description, allowed);
}

bool CmdParser::specifyRequiredOptionWithFixedValuesArg(const std::string& longForm, char shortForm,
                                                        const std::string& description,
                                                        const std::set<std::string>& allowed) {
    return specify(longForm, RequiredOptionWithFixedValues, shortForm, description, allowed);
}

bool CmdParser::specifyOptionEqualsValue(const std::string& longForm, const std::string& description,
                                         const std::set<std::string>& allowed) {
    return specify(longForm, OptionEqualsValue, 0, description, allowed);
}

bool CmdParser::specifyRemainder(const std::string& longForm, char shortForm,
                                 const std::string& description) {
    return specify(longForm, Remainder, shortForm, description, {});
}

bool CmdParser::specify(const std::string& longForm, ArgumentType type, char shortForm,
                        const std::string& description, const std::set<std::string>& allowed) {
    const bool formless = longForm.empty() && (shortForm == 0 || type == OptionEqualsValue);
    if (type == ValueArgument) {
        if (shortForm != 0 || !longForm.empty() || !allowed.empty())
            return false;
    } else if (formless || findOpt(shortForm) || findOpt(longForm)) {
        return false;
    }
    if (type == RequiredOptionWithFixedValues && allowed.empty())
        return false;
    const ArgumentSpec spec{nextId++,
                            type,
                            shortForm,
                            longForm,
                            allowed,
                            description,
                            type == ValueArgument ? description : std::string()};
    if (type == ValueArgument)
        valueSpecs.push_back(spec);
    else
        optionSpecs.insert(spec);
    if (!longForm.empty())
        widestOption = std::max<unsigned long>(widestOption, longForm.length() + 4);
    return true;
}

bool CmdParser::haveOption(char shortForm) const {
    return findForm(foundOptions, shortForm);
}

bool CmdParser::haveOption(const std::string& longForm) const {
    return findForm(foundOptions, longForm);
}

bool CmdParser::getOptionValue(char shortForm, std::string& value) const {
    return findValue(foundOptions, shortForm, value);
}

bool CmdParser::getOptionValue(const std::string& longForm, std::string& value) const {
    return findValue(foundOptions, longForm, value);
}

bool CmdParser::getOptionValue(char shortForm, int& number, const std::map<std::string, int>& numbers) const {
    return findNumber(foundOptions, shortForm, number, numbers);
}

bool CmdParser::getOptionValue(const std::string& longForm, int& number,
                               const std::map<std::string, int>& numbers) const {
    return findNumber(foundOptions, longForm, number, numbers);
}

bool CmdParser::getNextValueArg(std::string& value) {
    if (foundValues.empty())
        return false;
    value = std::move(foundValues.front().value);
    foundValues.pop_front();
    return true;
}

const CmdParser::ArgumentSpec* CmdParser::findOpt(char shortForm) const {
    return findForm(optionSpecs, shortForm);
}

const CmdParser::ArgumentSpec* CmdParser::findOpt(const std::string& longForm) const {
    return findForm(optionSpecs, longForm);
}

bool CmdParser::parse(const std::vector<std::string>& args, std::string& error) {
    words = args;
    foundOptions.clear();
    foundValues.clear();
    error.clear();
    ParserArgs state{words, error, 0, {}, true, valueSpecs.begin()};
    if (!executable.empty()) {
        if (words.empty()) {
            error = "Missing executable argument";
            return false;
        }
        ++state.position;
    }
    for (; state.position < words.size(); ++state.position)
        if (!parseWordArg(state))
            return false;

    if (haveOption('?'))
        error = getUsageText();
    else if (haveOption("version"))
        error = version;
    else if (haveOption("revision"))
        error = revision;
    else
        applyDebugLevel();
    return true;
}

void CmdParser::applyDebugLevel() const {
    std::string levelName;
    if (!getOptionValue("debug", levelName))
        return;
    const int level = Logger::mapDebugLevel(levelName);
    // An unknown name maps to 0 as well; it must not silence the program.
    if (Logger::mapDebugLevel(level) == StringTools::lower(levelName))
        Logger::MainLevel = level;
}

bool CmdParser::parseWordArg(ParserArgs& state) {
    const std::string& word = state.args[state.position];
    if (word.empty() || word == "-")
        return true;
    if (state.optionsRecognised && word == "--") {
        state.optionsRecognised = false;
        return true;
    }
    if (state.optionsRecognised && word.front() == '-')
        return parseOption(state);
    // Scripts in the field rely on name=value being an option even behind "--".
    if (isOptionEquals(word))
        return parseOptionEquals(state);
    return parsePlainArg(state, word);
}

bool CmdParser::isOptionEquals(std::string_view word) {
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (word.front() < 'A')
        return false;
    const auto end = std::find_if_not(word.begin(), word.end(),
                                      [&](char c) { return isLetter(c) || isDigit(c) || c == '_'; });
    return end != word.end() && *end == '=';
}

bool CmdParser::parseOptionEquals(ParserArgs& state) {
    std::string value = state.args[state.position];
    const std::string longForm = StringTools::split(value, '=');
    const ArgumentSpec* spec = findOpt(longForm);
    if (!spec)
        state.error = "Unknown option '" + longForm + "'";
    else if (spec->type != OptionEqualsValue)
        state.error = "Option '" + longForm + "' must be option=value";
    else
        foundOptions.insert({*spec, value});
    return state.error.empty();
}

bool CmdParser::parseOption(ParserArgs& state) {
    state.cluster = std::string_view(state.args[state.position]).substr(1);
    while (!state.cluster.empty()) {
        const ArgumentSpec* spec = nullptr;
        std::string shown;
        if (!parseLongOrShortOption(state, spec, shown))
            return false;
        if (spec && !registerArgument(state, *spec, shown))
            return false;
    }
    return true;
}

bool CmdParser::parseLongOrShortOption(ParserArgs& state, const ArgumentSpec*& spec, std::string& shown) {
    const std::string_view rest = std::exchange(state.cluster, {});
    shown = "-";
    if (rest.front() == '-') {
        shown += rest;
        spec = findOpt(std::string(rest.substr(1)));
    } else {
        shown += rest.front();
        spec = findOpt(rest.front());
        if (spec)
            state.cluster = rest.substr(1);
    }
    if (spec)
        return true;
    if (acceptExtraWords)
        return parsePlainArg(state, "-" + std::string(rest));
    state.error = "Unknown option '" + shown + "'";
    return false;
}

bool CmdParser::registerArgument(ParserArgs& state, const ArgumentSpec& spec, const std::string& shown) {
    ArgumentDef found{spec, {}};
    if (takesValue(spec.type)) {
        if (!state.cluster.empty()) {
            state.error = "Option '" + shown + "' requires argument but is located inside an options token";
            return false;
        }
        if (++state.position >= state.args.size()) {
            state.error = "Missing argument to '" + shown + "' option";
            return false;
        }
        found.value = state.args[state.position];
        if (spec.type == Remainder)
            while (state.position + 1 < state.args.size())
                found.value += " " + state.args[++state.position];
        if (spec.type == RequiredOptionWithFixedValues && !spec.allowed.contains(found.value)) {
            state.error = "Invalid argument to '" + shown + "' option";
            return false;
        }
        if (found.value.starts_with('"'))
            StringTools::unQuote(found.value);
    }
    foundOptions.insert(std::move(found));
    return true;
}

bool CmdParser::parsePlainArg(ParserArgs& state, const std::string& word) {
    if (state.nextValue != valueSpecs.end()) {
        foundValues.push_back({*state.nextValue++, word});
    } else if (acceptExtraWords) {
        foundValues.push_back({ArgumentSpec(), word});
    } else {
        state.error = "Too many arguments";
        return false;
    }
    return true;
}

void CmdParser::addDocLine(std::string line) {
    const std::size_t textStart = std::min(line.find_first_not_of(" \t\n"), line.size());
    std::string indent = line.substr(0, textStart);
    line.erase(0, textStart);
    while (indent.find('\n') != std::string::npos) {
        StringTools::split(indent, '\n');
        docLines.emplace_back();
    }
    for (const std::string& part : StringTools::splitVector(line, '\n'))
        docLines.push_back(part.empty() ? part : indent + part);
}

std::string CmdParser::getUsageText() const {
    std::string usage = "Usage:";
    if (!executable.empty())
        usage += " " + executable;
    if (!optionSpecs.empty())
        usage += " [options]";
    for (const ArgumentSpec& spec : valueSpecs)
        usage += " <" + spec.label + ">";

    std::map<unsigned int, const ArgumentSpec*> declared;
    for (const ArgumentSpec& spec : optionSpecs)
        declared[spec.id] = &spec;
    if (!declared.empty())
        usage += "\nOptions:";
    for (const auto& [id, spec] : declared)
        usage += "\n" + optionEntry(*spec);

    if (!docLines.empty())
        usage += "\n";
    for (const std::string& line : docLines)
        usage += "\n" + line;
    if (!usage.ends_with('\n'))
        usage += "\n";
    return usage;
}

std::string CmdParser::optionEntry(const ArgumentSpec& spec) const {
    const bool equals = spec.type == OptionEqualsValue;
    const std::string argument = equals ? "=<value>" : takesValue(spec.type) ? " <arg>" : "";
    std::string entry, line = "  ";
    if (spec.shortForm != 0 && !equals) {
        line = line + "-" + spec.shortForm + argument;
        if (!spec.longForm.empty()) {
            entry = line + "\n";
            line = "    ";
        }
    }
    if (!spec.longForm.empty())
        line += "--" + spec.longForm + argument;
    entry += StringTools::padRight(line, widestOption + OptionIndent) + ": ";

    std::string text = spec.description;
    if (!spec.allowed.empty())
        text += "(One of: " + StringTools::join(spec.allowed, ", ") + ")";
    if (widestOption >= DescriptionWidth)
        return entry + text;  // no column is left to wrap in
    const std::string continuation = "\n" + std::string(widestOption + DescriptionIndent, ' ');
    const StringTools::LineSizeSearcher lineEnds(DescriptionWidth - widestOption);
    return entry + StringTools::join(StringTools::splitSearcherVector(text, lineEnds), continuation);
}

std::vector<std::string> CmdParser::convert(int argc, char** argv) {
    return argc > 0 && argv ? std::vector<std::string>(argv, std::find(argv, argv + argc, nullptr))
                            : std::vector<std::string>();
}

std::vector<std::string> CmdParser::convert(const std::string& commandLine) {
    std::vector<std::string> found;
    bool inWord = false, quoted = false;
    for (const char c : commandLine) {
        if (!quoted && StringTools::whitespace().find(c) != std::string::npos) {
            inWord = false;
            continue;
        }
        if (!std::exchange(inWord, true))
            found.emplace_back();
        if (c == '"')
            quoted = !quoted;
        else
            found.back() += c;
    }
    return found;
}

}  // namespace MovrikCorelib
