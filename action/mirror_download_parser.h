// Collects the files an action script downloads, before the action runs.
#pragma once

#include "action/action_shell_parser.h"
#include "action/download_list.h"

class MirrorDownloadActionParser : public ActionShellParser {
public:
    // Fills list (reset first) from the script's prefetch, download and
    // download as lines and the hash and size tests of the continue if lines
    // after them; version receives the lowest agent version the script needs.
    // True when the list is not empty.
    bool BuildMirrorDownloadList(Stringy const& script, DownloadList& list, WinVersion& version);

    // Empty, or up to 32 letters, digits, "." and "-", not starting with ".".
    void InsureGoodName(Stringy const& name) const;

protected:
    // Called with the arguments of each parameter line that would run.
    virtual void ParameterCommand(Stringy const& arguments);

private:
    // The download whose continue if lines may still name its hash and size.
    struct PendingDownload {
        Stringy name;
        Stringy hash = "sha1:null";
        Stringy size = "size:null";
        Stringy url;
        bool required = true;
    };
    enum class Field { None, Hash, Size };

    void TakeDownloadLine(DownloadList& list);
    void TakePrefetchLine(DownloadList& list, char const* name, ArgParser& words);
    void AddPending(DownloadList& list);
    void FillFromCondition();
    void StoreConditionValue(Field field, std::string_view value);

    PendingDownload pending_;
    bool hashWanted_ = false;
    bool sizeWanted_ = false;
};
