#include "action/action_shell_parser.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "action/action_text.h"

namespace {

constexpr char kCR = '\r';
constexpr char kLF = '\n';

// Position of the first CR or LF, or the length of text. memchr is much
// quicker than a byte loop; the growing windows keep a script without any LF
// from being searched to its end for every line.
std::size_t LineEnd(std::string_view text) {
    std::size_t window = 256;
    for (std::size_t start = 0; start < text.size(); start += window, window *= 2) {
        char const* const base = text.data() + start;
        std::size_t const length = std::min(window, text.size() - start);
        auto const* const lf = static_cast<char const*>(std::memchr(base, kLF, length));
        std::size_t const limit = lf != nullptr ? static_cast<std::size_t>(lf - base) : length;
        if (auto const* const cr = static_cast<char const*>(std::memchr(base, kCR, limit)))
            return start + static_cast<std::size_t>(cr - base);
        if (lf != nullptr)
            return start + limit;
    }
    return text.size();
}

// The table's rows grouped by the lower-case first letter of their keyword,
// each group in table order, so a line is compared only with rows that can
// match it and the first match is still the table's first.
class CommandIndex {
public:
    struct Entry {
        ActionShellParser::Command const* row;
        std::string_view keyword;
    };

    CommandIndex() {
        for (ActionShellParser::Command const& row : ActionShellParser::commandTable) {
            std::string_view const keyword = row.name;
            groups_[Slot(keyword.front())].push_back(Entry{&row, keyword});
        }
    }

    Entry const* Match(std::string_view text) const {
        if (text.empty())
            return nullptr;
        for (Entry const& entry : groups_[Slot(text.front())]) {
            if (entry.row->enabled && ActionText::StartsWithIgnoringCase(text, entry.keyword))
                return &entry;
        }
        return nullptr;
    }

private:
    static unsigned char Slot(char c) { return static_cast<unsigned char>(ActionText::Lower(c)); }

    std::array<std::vector<Entry>, 256> groups_;
};

CommandIndex const& Commands() {
    static CommandIndex const index;
    return index;
}

ConstData AsData(std::string_view text) {
    return ConstData(text.data(), text.size());
}

// Replaces script by view, which points into script's own bytes.
void Assign(Stringy& script, ConstData view) {
    script = Stringy(view);
}

} // namespace

bool ActionShellParser::EvaluateCondition(Stringy const&) {
    return true;
}

bool ActionShellParser::IsDownloadOption(std::string_view word) {
    return word == "save" || word == "open" || word == "now";
}

bool ActionShellParser::GetCommand(ConstData& script) {
    Recognition const found = Recognise(script);
    if (found == Recognition::Unknown)
        throw UnknownCommand(lineCounter_);
    return found == Recognition::Known;
}

bool ActionShellParser::GetCommand(Stringy& script) {
    ConstData view = script.Data();
    Recognition const found = Recognise(view);
    Assign(script, view);
    if (found == Recognition::Unknown)
        throw UnknownCommand(lineCounter_);
    return found == Recognition::Known;
}

ActionShellParser::Recognition ActionShellParser::Recognise(ConstData& script) {
    currentCommand_ = cNoCommand;
    if (script.empty())
        return Recognition::Empty;
    ++lineCounter_;
    std::string_view const text = ActionText::TrimLeading(script.view());
    CommandIndex::Entry const* const match = Commands().Match(text);
    if (match == nullptr) {
        TakeUnknownLine(text, script);
        return Recognition::Unknown;
    }
    Command const* const row = match->row;
    std::size_t const keywordLength = match->keyword.size();
    std::size_t const end = LineEnd(text);
    currentCommand_ = row->command;
    currentCommandName_ = row->name;
    std::string_view arguments = text.substr(0, end).substr(std::min(keywordLength, end));
    if (!arguments.empty() && arguments.front() == ' ')
        arguments.remove_prefix(1);
    currentArguments_ = Stringy(arguments);
    RaiseRequiredVersion(row->minimumVersion);

    std::string_view rest = end < text.size() ? text.substr(end + 1) : std::string_view();
    if (currentCommand_ == cCreateFileUntil && !rest.empty()) {
        // The body starts right after the line end; its leading blanks are content.
        if (text[end] == kCR && rest.front() == kLF)
            rest.remove_prefix(1);
    } else {
        rest = ActionText::TrimLeading(rest);
    }
    script = AsData(rest);
    return Recognition::Known;
}

// Only a CR ends an unknown line, and the character before it is lost, so on
// LF-only scripts an unknown command swallows the rest of the script. Hosts
// rely on this exact behaviour, so it is kept.
void ActionShellParser::TakeUnknownLine(std::string_view text, ConstData& script) {
    std::size_t const cr = text.find(kCR);
    std::size_t const taken = cr == std::string_view::npos || cr == 0 ? text.size() : cr - 1;
    currentArguments_ = Stringy(text.substr(0, taken));
    std::string_view const rest = taken < text.size() ? text.substr(taken + 1) : std::string_view();
    script = AsData(ActionText::TrimLeading(rest));
}

// The version starts at 0.0.0.0 and every row has four components, so taking
// the row's minimum whenever it is higher also covers the first command.
void ActionShellParser::RaiseRequiredVersion(WinVersion const& minimum) {
    if (requiredVersion_ < minimum)
        requiredVersion_ = minimum;
}

char const* ActionShellParser::GetCommandName() const {
    for (Command const& row : commandTable) {
        if (row.command == currentCommand_)
            return row.name;
    }
    return "unknown";
}

bool ActionShellParser::GetLine(ConstData& text, ConstData& line) {
    if (text.empty())
        return false;
    ++lineCounter_;
    unsigned char const* p = text.begin();
    unsigned char const* const end = text.end();
    while (p != end && *p != '\0' && *p != kCR && *p != kLF)
        ++p;
    line = ConstData(text.begin(), p);
    if (p != end && *p != '\0') {
        unsigned char const first = *p++;
        // CR LF and LF CR are each one line end.
        if (p != end && (*p == kCR || *p == kLF) && *p != first)
            ++p;
    }
    text = ConstData(p, end);
    return true;
}

char* ActionShellParser::CopyOfArguments() {
    argumentsCopy_.assign(currentArguments_.str());
    return argumentsCopy_.data();
}

std::string_view ActionShellParser::CreateFileDelimiter() {
    char const* delimiter = argParser_.GetFirstArg(CopyOfArguments(), true);
    return delimiter != nullptr ? std::string_view(delimiter) : std::string_view();
}

// Hands each body line to onLine, up to and including the line in which the
// delimiter first occurs, and leaves script after that line. A NUL ends the
// readable text: lines never run past one.
template <class OnLine>
void ActionShellParser::WalkCreateFileBody(ConstData& script, OnLine onLine) {
    std::string_view const delimiter = CreateFileDelimiter();
    std::size_t const found =
        delimiter.empty() ? std::string_view::npos : script.view().find(delimiter);
    if (found == std::string_view::npos)
        throw MissingCreateFileDelimiter(lineCounter_);
    unsigned char const* const delimiterStart = script.begin() + found;
    ConstData text = script;
    ConstData line;
    do {
        if (text.empty() || *text.begin() == '\0')
            throw MissingCreateFileEndDelimiter(lineCounter_);
        GetLine(text, line);
        onLine(line);
    } while (line.end() <= delimiterStart);
    script = text;
}

void ActionShellParser::SkipCreateFile(ConstData& script, std::uint16_t& lines) {
    WalkCreateFileBody(script, [&lines](ConstData) { ++lines; });
}

void ActionShellParser::SkipCreateFile(Stringy& script, std::uint16_t& lines) {
    ConstData view = script.Data();
    SkipCreateFile(view, lines);
    Assign(script, view);
}

bool ActionShellParser::ProcessBlockControl(Stringy& script, std::uint16_t& lines,
                                            bool& isDownload) {
    ConstData view = script.Data();
    bool const skip = ProcessBlockControl(view, lines, isDownload);
    Assign(script, view);
    return skip;
}

bool ActionShellParser::ProcessBlockControl(ConstData& script, std::uint16_t& lines,
                                            bool& isDownload) {
    isDownload = false;
    switch (currentCommand_) {
    case cDownload:
        isDownload = DownloadFetchesAhead();
        break;
    case cDownloadAs:
    case cPrefetch:
        isDownload = true;
        break;
    case cIf:
        OpenIf();
        return true;
    case cElseif:
        ContinueWithElseif();
        return true;
    case cElse:
        ContinueWithElse();
        return true;
    case cEndif:
        CloseIf();
        return true;
    default:
        break;
    }
    if (blockList_.InTrueBlock())
        return false;
    // A skipped createfile body must not be mistaken for commands.
    if (currentCommand_ == cCreateFileUntil)
        SkipCreateFile(script, lines);
    return true;
}

// "download now ..." fetches while the action runs, not ahead of it.
bool ActionShellParser::DownloadFetchesAhead() {
    for (char const* word = argParser_.GetFirstArg(CopyOfArguments(), false);
         word != nullptr && IsDownloadOption(word); word = argParser_.GetNextArg(false)) {
        if (std::string_view(word) == "now")
            return false;
    }
    return true;
}

void ActionShellParser::OpenIf() {
    if (blockList_.InTrueBlock() && EvaluateCondition(currentArguments_))
        blockList_.Add(true, true, false);
    else
        blockList_.Add(false, false, false);
}

void ActionShellParser::ContinueWithElseif() {
    if (blockList_.empty())
        throw ElseifWithoutIf(lineCounter_);
    if (blockList_.ProcessedElse())
        throw ElseifAfterElse(lineCounter_);
    bool const consumed = blockList_.Consumed();
    blockList_.DeleteTop();
    if (consumed)
        blockList_.Add(false, true, false);
    else if (blockList_.InTrueBlock() && EvaluateCondition(currentArguments_))
        blockList_.Add(true, true, false);
    else
        blockList_.Add(false, false, false);
}

void ActionShellParser::ContinueWithElse() {
    if (blockList_.empty())
        throw ElseWithoutIf(lineCounter_);
    if (blockList_.ProcessedElse())
        throw ElseAfterElse(lineCounter_);
    bool const consumed = blockList_.Consumed();
    blockList_.DeleteTop();
    blockList_.Add(!consumed && blockList_.InTrueBlock(), true, true);
}

void ActionShellParser::CloseIf() {
    if (blockList_.empty())
        throw EndifWithoutIf(lineCounter_);
    blockList_.DeleteTop();
}

std::uint16_t ActionShellParser::GetNumberOfActionLines(std::string const& script) {
    ActionShellParser parser;
    ConstData text(script);
    std::uint16_t lines = 0;
    while (!text.empty()) {
        parser.GetCommand(text);
        if (parser.currentCommand_ == cCreateFileUntil)
            parser.SkipCreateFile(text, lines);
    }
    return parser.lineCounter_;
}

void ActionShellParser::BuildCommandLineList(std::string const& script,
                                             std::vector<std::string>& lines) {
    ActionShellParser parser;
    ConstData text(script);
    while (!text.empty()) {
        parser.GetCommand(text);
        std::string line = parser.currentCommandName_ != nullptr ? parser.currentCommandName_ : "";
        if (!parser.currentArguments_.empty()) {
            line += ' ';
            line += parser.currentArguments_.str();
        }
        lines.push_back(std::move(line));
        if (parser.currentCommand_ == cCreateFileUntil)
            parser.WalkCreateFileBody(text,
                                      [&lines](ConstData body) { lines.push_back(body.str()); });
    }
}
