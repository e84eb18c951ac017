// Cuts action scripts into commands and keeps their if blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "action/action_errors.h"
#include "action/arg_parser.h"
#include "action/block_list.h"
#include "action/win_version.h"
#include "files/stringy.h"
#include "util/bytes.h"

// The parser executes nothing: the host derives from it, evaluates the
// conditions of if/elseif and runs every line ProcessBlockControl lets through.
// Each script-walking call has a Stringy form and a ConstData form; the latter
// only moves a view forward, so long scripts are walked without copying.
class ActionShellParser {
public:
    struct Command {
        char const* name;
        std::int32_t command;
        bool enabled;
        // Carried for the host agent; the parser never reads it.
        bool auxiliaryFlag;
        WinVersion minimumVersion;
    };

    // The codes the parser and the download-list builder act on.
    static constexpr std::int32_t cNoCommand = 0;
    static constexpr std::int32_t cDownload = 17;
    static constexpr std::int32_t cContinueIf = 28;
    static constexpr std::int32_t cDownloadAs = 52;
    static constexpr std::int32_t cIf = 54;
    static constexpr std::int32_t cElseif = 55;
    static constexpr std::int32_t cElse = 56;
    static constexpr std::int32_t cEndif = 57;
    static constexpr std::int32_t cParameter = 58;
    static constexpr std::int32_t cCreateFileUntil = 59;
    static constexpr std::int32_t cPrefetch = 60;

    static constexpr std::size_t NumCommands = 72;
    static Command const commandTable[NumCommands];

    ActionShellParser() = default;
    ActionShellParser(ActionShellParser const&) = delete;
    ActionShellParser& operator=(ActionShellParser const&) = delete;
    virtual ~ActionShellParser() = default;

    // The condition text of an if or elseif; the base takes every branch.
    virtual bool EvaluateCondition(Stringy const& condition);

    // Recognises the first command of script and removes its line. False on
    // an empty script. An unknown command throws UnknownCommand after script
    // has been moved past it, so a caller may carry on.
    bool GetCommand(Stringy& script);
    bool GetCommand(ConstData& script);
    // The keyword of the current command, "unknown" when there is none.
    char const* GetCommandName() const;
    // Takes one physical line off text; false when text is empty.
    bool GetLine(ConstData& text, ConstData& line);
    // Removes the body of the current createfile until block from script.
    void SkipCreateFile(Stringy& script, std::uint16_t& lines);
    void SkipCreateFile(ConstData& script, std::uint16_t& lines);
    // Block bookkeeping for the current command; true when the host must not
    // execute it. isDownload tells whether it fetches a file ahead of time.
    bool ProcessBlockControl(Stringy& script, std::uint16_t& lines, bool& isDownload);
    bool ProcessBlockControl(ConstData& script, std::uint16_t& lines, bool& isDownload);

    // The number of lines a run counts, every createfile body included.
    static std::uint16_t GetNumberOfActionLines(std::string const& script);
    // Appends each command as keyword and arguments, and each createfile body line.
    static void BuildCommandLineList(std::string const& script, std::vector<std::string>& lines);

    std::uint16_t GetLineCounter() const { return lineCounter_; }
    std::int32_t GetCurrentCommand() const { return currentCommand_; }
    Stringy const& GetCurrentArguments() const { return currentArguments_; }
    WinVersion const& GetRequiredVersion() const { return requiredVersion_; }
    BlockList const& GetBlockList() const { return blockList_; }

protected:
    // The words a download line may start with before its source.
    static bool IsDownloadOption(std::string_view word);
    // A writable NUL-terminated copy of the current arguments for ArgParser,
    // valid until the next call; its storage is reused from line to line.
    char* CopyOfArguments();

    std::uint16_t lineCounter_ = 0;
    ArgParser argParser_;
    char const* currentCommandName_ = nullptr;
    WinVersion requiredVersion_;
    BlockList blockList_;
    std::int32_t currentCommand_ = cNoCommand;
    Stringy currentArguments_;

private:
    std::string argumentsCopy_;

    enum class Recognition { Empty, Known, Unknown };

    Recognition Recognise(ConstData& script);
    void TakeUnknownLine(std::string_view text, ConstData& script);
    void RaiseRequiredVersion(WinVersion const& minimum);
    bool DownloadFetchesAhead();
    void OpenIf();
    void ContinueWithElseif();
    void ContinueWithElse();
    void CloseIf();
    std::string_view CreateFileDelimiter();
    template <class OnLine> void WalkCreateFileBody(ConstData& script, OnLine onLine);
};
