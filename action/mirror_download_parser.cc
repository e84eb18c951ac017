#include "action/mirror_download_parser.h"

#include <string>
#include <string_view>

#include "action/action_text.h"

namespace {

constexpr std::size_t kMaxNameLength = 32;

bool IsNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '-';
}

bool IntroducesValue(std::string_view word) {
    return word == "=" || ActionText::EqualsIgnoringCase(word, "is") ||
           ActionText::EqualsIgnoringCase(word, "equals");
}

std::string_view DropGrouping(std::string_view word) {
    while (!word.empty() && (word.front() == '{' || word.front() == '('))
        word.remove_prefix(1);
    return word;
}

std::string_view DropClosingGrouping(std::string_view word) {
    while (!word.empty() && (word.back() == ')' || word.back() == '}'))
        word.remove_suffix(1);
    return word;
}

Stringy TextOrEmpty(char const* text) {
    return text != nullptr ? Stringy(text) : Stringy();
}

} // namespace

void MirrorDownloadActionParser::ParameterCommand(Stringy const&) {}

void MirrorDownloadActionParser::InsureGoodName(Stringy const& name) const {
    std::string_view const text = name.str();
    if (text.empty())
        return;
    bool good = text.size() <= kMaxNameLength && text.front() != '.';
    for (std::size_t i = 0; good && i < text.size(); ++i)
        good = IsNameCharacter(text[i]);
    if (!good)
        throw DownloadNameError(lineCounter_);
}

bool MirrorDownloadActionParser::BuildMirrorDownloadList(Stringy const& script, DownloadList& list,
                                                         WinVersion& version) {
    list.Reset();
    version = WinVersion{};
    pending_ = PendingDownload{};
    ConstData text = script.Data();
    std::uint16_t lines = 0;
    while (GetCommand(text)) {
        // Lines in false branches are looked at too; the answer is not used.
        bool isDownload = false;
        ProcessBlockControl(text, lines, isDownload);
        if (isDownload) {
            TakeDownloadLine(list);
        } else if (currentCommand_ == cContinueIf) {
            FillFromCondition();
        } else if (currentCommand_ == cParameter) {
            if (blockList_.InTrueBlock())
                ParameterCommand(currentArguments_);
        } else if (currentCommand_ == cCreateFileUntil) {
            // In a false branch ProcessBlockControl has skipped this body
            // already, so a second stretch up to the next delimiter goes too.
            // Hosts list downloads this way; keep it.
            SkipCreateFile(text, lines);
        }
    }
    version = requiredVersion_;
    if (!pending_.url.empty())
        AddPending(list);
    return list.GetCount() > 0;
}

void MirrorDownloadActionParser::AddPending(DownloadList& list) {
    InsureGoodName(pending_.name);
    list.Add(pending_.url, pending_.size, pending_.hash, pending_.name, pending_.required);
}

void MirrorDownloadActionParser::TakeDownloadLine(DownloadList& list) {
    if (!pending_.url.empty())
        AddPending(list);
    pending_ = PendingDownload{};
    // Downloads in false branches are listed, but as not required.
    pending_.required = blockList_.InTrueBlock();
    ArgParser words;
    char const* word = words.GetFirstArg(CopyOfArguments(), false);
    if (currentCommand_ == cDownloadAs) {
        pending_.name = TextOrEmpty(word);
        pending_.url = TextOrEmpty(words.GetNextArg(false));
    } else if (currentCommand_ == cPrefetch) {
        TakePrefetchLine(list, word, words);
    } else {
        while (word != nullptr && IsDownloadOption(word))
            word = words.GetNextArg(false);
        pending_.url = TextOrEmpty(word);
    }
    hashWanted_ = true;
    sizeWanted_ = true;
}

// A prefetch line is complete in itself: it is listed at once and leaves
// nothing pending for the continue if lines after it.
void MirrorDownloadActionParser::TakePrefetchLine(DownloadList& list, char const* name,
                                                  ArgParser& words) {
    char const* hash = words.GetNextArg(false);
    char const* size = words.GetNextArg(false);
    char const* url = words.GetNextArg(false);
    if (url == nullptr || hash == nullptr || size == nullptr)
        throw PrefetchCommandSyntaxError(lineCounter_);
    Stringy const goodName(name);
    InsureGoodName(goodName);
    list.Add(Stringy(url), Stringy(size), Stringy(hash), goodName, pending_.required);
}

void MirrorDownloadActionParser::FillFromCondition() {
    ArgParser words;
    Field selected = Field::None;
    bool valueNext = false;
    for (char const* text = words.GetFirstArg(CopyOfArguments(), false);
         text != nullptr && (hashWanted_ || sizeWanted_); text = words.GetNextArg(false)) {
        std::string_view const word = DropGrouping(text);
        if (valueNext) {
            StoreConditionValue(selected, DropClosingGrouping(word));
            selected = Field::None;
            valueNext = false;
        } else if (selected != Field::None) {
            valueNext = IntroducesValue(word);
        } else if (hashWanted_ && ActionText::EqualsIgnoringCase(word, "sha1")) {
            selected = Field::Hash;
        } else if (sizeWanted_ && ActionText::EqualsIgnoringCase(word, "size")) {
            selected = Field::Size;
        }
    }
}

void MirrorDownloadActionParser::StoreConditionValue(Field field, std::string_view value) {
    if (field == Field::Hash) {
        pending_.hash = "sha1:";
        pending_.hash.Append(value);
        hashWanted_ = false;
    } else {
        pending_.size = "size:";
        pending_.size.Append(value);
        sizeWanted_ = false;
    }
}
