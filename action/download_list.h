// The files an action will download, as collected before it runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "files/stringy.h"

class DownloadFileInfo {
public:
    // size is "size:<bytes>" or "size:null"; hash is "<type>:<value>".
    DownloadFileInfo(Stringy const& url, Stringy const& size, Stringy const& hash,
                     Stringy const& name, bool required);
    // A "<size>, <type>:<value>, <url>" line; such entries are required.
    explicit DownloadFileInfo(std::string_view line);

    // Splits "<type>:<value>" into hashType and hashValue; "null" is no value.
    void CrackHashTypeAndValue(std::string_view text);
    // The name to save as, else the last path component of the url.
    Stringy GetName() const;

    Stringy url;
    Stringy hashValue;
    Stringy hashType;
    // The decimal byte count, empty when unknown.
    Stringy size;
    Stringy name;
    bool required = true;
    bool utility = false;
};

class DownloadList {
public:
    void Add(DownloadFileInfo info);
    void Add(std::string_view line);
    void Add(Stringy const& url, Stringy const& size, Stringy const& hash, Stringy const& name,
             bool required = true);

    std::size_t GetCount() const { return entries_.size(); }
    DownloadFileInfo const& GetDownloadFileInfo(std::size_t index) const;
    // Removes every entry and clears the flags.
    void Reset();
    void SetUtility(std::size_t index);
    // Whether any entry from position from onwards is required.
    bool AnyRequired(std::size_t from) const;
    // True when exactly one entry is required and its known size is below limit.
    bool SingleDownloadLessThan(std::uint64_t limit) const;

    // A byte the host keeps with the list; only Reset changes it here.
    std::uint8_t GetFlags() const { return flags_; }
    void SetFlags(std::uint8_t flags) { flags_ = flags; }

private:
    std::vector<DownloadFileInfo> entries_;
    std::uint8_t flags_ = 0;
};
