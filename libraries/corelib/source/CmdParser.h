#pragma once

#include <list>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace MovrikCorelib {

/// Command-line model of an application: it declares its arguments, applies them to an argument vector,
/// answers what was found and produces the usage text. Nothing here throws; `parse` reports by its result
/// and an error text. One thread at a time.
class CmdParser {
public:
    enum ArgumentType {
        ValueArgument = 0,                  ///< plain word, taken by position
        OptionOnly = 1,                     ///< flag: --name or -x
        OptionWithValue = 2,                ///< --name value or -x value
        RequiredOptionWithFixedValues = 3,  ///< as above, and the value must be one of a set
        OptionEqualsValue = 4,              ///< name=value, in one word
        Remainder = 5                       ///< --name or -x; takes all words behind it, joined by one blank
    };

    /// One declared argument.
    struct ArgumentSpec {
        unsigned int id = 0;  ///< running number of the declaration
        ArgumentType type = ValueArgument;
        char shortForm = 0;             ///< 0: none
        std::string longForm;           ///< empty: none
        std::set<std::string> allowed;  ///< allowed values, empty: any
        std::string description;
        std::string label;  ///< name of a value argument in the usage text

        /// Negative, 0 or positive: by type, then by short form, then by long form, where an argument that
        /// lacks a form stands behind those that have it.
        int compare(const ArgumentSpec& other) const;
        bool operator<(const ArgumentSpec& other) const { return compare(other) < 0; }
    };

    /// One argument found on the command line.
    struct ArgumentDef : ArgumentSpec {
        std::string value;
    };

    /// No label: the first word is a regular argument.
    CmdParser();
    /// As `init(label, options, false, false)`.
    CmdParser(const std::string& label, bool options);
    CmdParser(const CmdParser&) = default;
    CmdParser& operator=(const CmdParser&) = default;
    virtual ~CmdParser() = default;

    /// Sets the executable label and whether plain words beyond the declared ones are accepted. On the first
    /// call, `options` declares help, version, revision and debug, and `fileOptions` with it -c and filereg.
    void init(const std::string& label, bool options, bool extraWords, bool fileOptions);

    /// Declare arguments, see `specify`. A short form of 0 and an empty long form stand for none.
    bool specifyValueArg(const std::string& label, const std::string& description = std::string());
    bool specifyOptionOnlyArg(const std::string& longForm, char shortForm, const std::string& description);
    /// The set is shown in the usage text, but any value is accepted.
    bool specifyOptionWithValueArg(const std::string& longForm, char shortForm,
                                   const std::string& description,
                                   const std::set<std::string>& allowed = std::set<std::string>());
    /// A value outside the set is an error; leaving the option out is not, the caller asks for that.
    bool specifyRequiredOptionWithFixedValuesArg(const std::string& longForm, char shortForm,
                                                 const std::string& description,
                                                 const std::set<std::string>& allowed);
    /// The long form may hold letters, digits and "_", and begins with a letter.
    bool specifyOptionEqualsValue(const std::string& longForm, const std::string& description,
                                  const std::set<std::string>& allowed = std::set<std::string>());
    bool specifyRemainder(const std::string& longForm, char shortForm, const std::string& description);

    /// False, and nothing is declared: a form that is already taken, an option without a form (for
    /// `OptionEqualsValue`: without a long form), fixed values without a set, a value argument with a form or
    /// a set. In the usage text "(One of: ...)" follows the description directly, so a description that goes
    /// with a set ends in a blank. A value argument is named by its description.
    bool specify(const std::string& longForm, ArgumentType type, char shortForm,
                 const std::string& description, const std::set<std::string>& allowed);

    /// Adds a paragraph behind the options in the usage text. Leading line feeds make empty lines, the blanks
    /// and tabs behind them indent each line of the paragraph; lines are broken at line feeds only.
    void addDocLine(std::string line);

    /// Ends in a line feed.
    std::string getUsageText() const;

    /// Version and revision of the build.
    const std::string& getVersion() const { return version; }
    const std::string& getRevision() const { return revision; }

    /// Whether the last `parse` met the option, in whichever of its forms.
    bool haveOption(char shortForm) const;
    bool haveOption(const std::string& longForm) const;

    /// The value given with an option, empty for a flag. False, and `value` untouched, if it was not given.
    bool getOptionValue(char shortForm, std::string& value) const;
    bool getOptionValue(const std::string& longForm, std::string& value) const;

    /// The number that `numbers` holds for the value. False, and `number` untouched, if the option was not
    /// given or its value is not in the map.
    bool getOptionValue(char shortForm, int& number, const std::map<std::string, int>& numbers) const;
    bool getOptionValue(const std::string& longForm, int& number,
                        const std::map<std::string, int>& numbers) const;

    /// Hands out the value arguments of the last `parse`, one per call; false when there are no more. A
    /// declared value argument that was not given is missing here; the parser does not complain.
    bool getNextValueArg(std::string& value);

    /// Applies the words. With a label the first word is the executable. On an error: false, `error` tells
    /// what is wrong, and all that stands before it on the command line is kept. On success `error` is empty,
    /// or the usage, version or revision text if one of these was asked for (the first of them wins);
    /// otherwise a known level name given with "debug" becomes `Logger::MainLevel`. A repeated option keeps
    /// its first value.
    bool parse(const std::vector<std::string>& args, std::string& error);

    static std::vector<std::string> convert(int argc, char** argv);
    /// Cuts at white space outside double quotes; the quotes are removed, and "" is an empty word. A quote
    /// that is not closed runs to the end.
    static std::vector<std::string> convert(const std::string& commandLine);

    /// Null if no option has this form. Valid for the life of the parser.
    const ArgumentSpec* findOpt(char shortForm) const;
    const ArgumentSpec* findOpt(const std::string& longForm) const;

private:
    struct ParserArgs {
        const std::vector<std::string>& args;
        std::string& error;
        std::size_t position = 0;
        std::string_view cluster;  ///< what is left of the present word behind its "-"
        bool optionsRecognised = true;
        std::list<ArgumentSpec>::const_iterator nextValue;
    };

    bool parseWordArg(ParserArgs& state);
    static bool isOptionEquals(std::string_view word);
    bool parseOptionEquals(ParserArgs& state);
    bool parseOption(ParserArgs& state);
    bool parseLongOrShortOption(ParserArgs& state, const ArgumentSpec*& spec, std::string& shown);
    bool registerArgument(ParserArgs& state, const ArgumentSpec& spec, const std::string& shown);
    bool parsePlainArg(ParserArgs& state, const std::string& word);
    void applyDebugLevel() const;
    std::string optionEntry(const ArgumentSpec& spec) const;

    std::set<ArgumentSpec> optionSpecs;
    std::list<ArgumentSpec> valueSpecs;
    std::set<ArgumentDef> foundOptions;
    std::list<ArgumentDef> foundValues;
    std::vector<std::string> words;  ///< of the last `parse`
    std::string executable;
    bool acceptExtraWords = false;
    std::list<std::string> docLines;
    unsigned long widestOption = 4;
    std::string version;
    std::string revision;
    unsigned int nextId = 0;
    bool initialized = false;
};

}  // namespace MovrikCorelib
