#include "tools/zorsettings/zorsettings.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <memory>

#include "settings/agent_settings.h"
#include "settings/preference_domain.h"

namespace {

constexpr int kDone = 0;
constexpr int kNotDone = 1;
constexpr int kUsage = 2;
constexpr int kWriteFailed = 3;

constexpr char const* kUsageText =
    R"(usage: zorsettings [--folder DIR] [--store NAME] COMMAND [ARGUMENTS]
       zorsettings --help | -h

Reads and changes the agent's settings in DIR/com.zor.agent.plist, where DIR is
--folder, else $ZOR_PREFERENCES_DIR, else /var/lib/zor/preferences.
NAME is the store: Settings (the default), Sites, Options or EnterpriseServer.

commands:
  list                          the store's sections, with their numbers of settings
  list SECTION                  each setting as NAME<tab>VALUE<tab>DATE; a cleared
                                one shows (cleared) as its value
  get SECTION NAME              the value; exit 1 when absent or cleared
  set SECTION NAME VALUE [DATE] set it unless the stored one is dated later (exit 1)
  clear SECTION NAME [DATE]     clear it, leaving the date; exit 1 when absent or
                                dated later
  rename-section FROM TO        copy the settings of FROM into TO (FROM stays)
  migrate-options               move the old client options into the Options store
                                (once; later runs do nothing)
  migrate-administrators        copy section Administrator into Administrators
  help                          this text

DATE is UTC, as 2026-11-21T10:51:42.123456Z (0 to 6 fraction digits), now (the
default) or - (no date). Exit status: 0 done, 1 not done, 2 usage error, 3 the
file could not be written.
)";

class UsageError {
public:
    explicit UsageError(std::string message) : message_(std::move(message)) {}
    std::string const& Message() const { return message_; }

private:
    std::string message_;
};

ConstData AsData(std::string const& text) {
    return ConstData(std::string_view(text));
}

struct Invocation {
    std::string store = kSettingsPreferenceKey;
    std::vector<std::string> words; // the command and its arguments
};

std::string StoreKey(std::string const& name) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (char const* key : {kSettingsPreferenceKey, kSitesPreferenceKey, kOptionsPreferenceKey,
                            kServerPreferenceKey}) {
        std::string keyLower(key);
        std::transform(keyLower.begin(), keyLower.end(), keyLower.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (lower == keyLower) {
            return key;
        }
    }
    if (lower == "server") {
        return kServerPreferenceKey;
    }
    throw UsageError("no store named " + name);
}

Invocation Parse(std::vector<std::string> const& arguments) {
    Invocation invocation;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string const& argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            invocation.words = {"help"};
            return invocation;
        }
        bool takesValue = argument == "--folder" || argument == "--store";
        if (takesValue && i + 1 == arguments.size()) {
            throw UsageError("option " + argument + " needs a value");
        }
        if (argument == "--folder") {
            SetPreferencesFolder(arguments[++i]);
        } else if (argument == "--store") {
            invocation.store = StoreKey(arguments[++i]);
        } else if (argument.starts_with("--")) {
            throw UsageError("unknown option " + argument);
        } else {
            invocation.words.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i),
                                    arguments.end());
            return invocation;
        }
    }
    throw UsageError("no command given");
}

void ExpectArguments(Invocation const& invocation, std::size_t least, std::size_t most) {
    std::size_t count = invocation.words.size() - 1;
    if (count < least || count > most) {
        throw UsageError("wrong number of arguments for " + invocation.words[0]);
    }
}

Instant DateArgument(Invocation const& invocation, std::size_t index) {
    if (index >= invocation.words.size()) {
        return Instant::Now();
    }
    std::optional<Instant> date = ParseInstant(invocation.words[index]);
    if (!date) {
        throw UsageError("not a date: " + invocation.words[index]);
    }
    return *date;
}

std::unique_ptr<CFPreferenceSettingStore> OpenStore(std::string const& key) {
    return std::make_unique<CFPreferenceSettingStore>(
        key, AgentPreferenceDomain, kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
}

// Flush leaves a failed write pending; this reports it with its reason.
int Save(CFPreferenceSettingStore& store) {
    store.Flush();
    return PreferenceDomainFor(AgentPreferenceDomain).SynchronizeOrReport() ? kDone : kWriteFailed;
}

// A section copy is not a change of its own; the command writes it anyway.
int SaveUnchanged(CFPreferenceSettingStore& store, std::string const& key) {
    store.Write(key, store.Contents());
    return PreferenceDomainFor(AgentPreferenceDomain).SynchronizeOrReport() ? kDone : kWriteFailed;
}

int ListSections(CFPreferenceSettingStore const& store, std::ostream& out) {
    for (auto const& [section, settings] : store.Contents()) {
        auto cleared = std::count_if(settings.begin(), settings.end(),
                                     [](auto const& entry) { return entry.second.Deleted(); });
        out << Printable(section) << '\t' << settings.size() << " settings";
        if (cleared > 0) {
            out << " (" << cleared << " cleared)";
        }
        out << '\n';
    }
    return kDone;
}

int ListSection(CFPreferenceSettingStore const& store, std::string const& section,
                std::ostream& out) {
    for (auto item = store.FindSection(AsData(section)); !item.AtEnd(); ++item) {
        out << Printable(item.Name().view()) << '\t'
            << (item.Deleted() ? "(cleared)" : Printable(item.Value().view())) << '\t'
            << FormatInstant(item.Date()) << '\n';
    }
    return kDone;
}

int Get(CFPreferenceSettingStore const& store, Invocation const& invocation, std::ostream& out,
        std::ostream& err) {
    auto item = store.FindItem(AsData(invocation.words[1]), AsData(invocation.words[2]));
    if (item.AtEnd() || item.Deleted()) {
        err << "zorsettings: no setting " << Printable(invocation.words[2]) << " in section "
            << Printable(invocation.words[1]) << '\n';
        return kNotDone;
    }
    out << Printable(item.Value().view()) << '\n';
    return kDone;
}

int SetOrClear(CFPreferenceSettingStore& store, Invocation const& invocation, std::ostream& err) {
    std::string const& section = invocation.words[1];
    std::string const& name = invocation.words[2];
    if (invocation.words[0] == "set") {
        store.Set(AsData(section), AsData(name), AsData(invocation.words[3]),
                  DateArgument(invocation, 4));
    } else {
        store.Clear(AsData(section), AsData(name), DateArgument(invocation, 3));
    }
    if (!store.Changed()) {
        err << "zorsettings: nothing changed: the stored setting is "
            << (store.FindItem(AsData(section), AsData(name)).AtEnd() ? "absent" : "dated later")
            << '\n';
        return kNotDone;
    }
    return Save(store);
}

int RenameSection(CFPreferenceSettingStore& store, std::string const& key, std::string const& from,
                  std::string const& to, std::ostream& err) {
    if (store.FindSection(AsData(from)).AtEnd()) {
        err << "zorsettings: no section " << Printable(from) << '\n';
        return kNotDone;
    }
    store.RenameSection(AsData(from), AsData(to));
    return SaveUnchanged(store, key);
}

int MigrateOptions(std::ostream& out) {
    auto settings = OpenStore(kSettingsPreferenceKey);
    auto options = OpenStore(kOptionsPreferenceKey);
    MoveOptionsOnce(*settings, *options);
    if (!options->Changed()) {
        out << "the options were moved before; nothing to do\n";
        return kDone;
    }
    int status = Save(*settings);
    int optionsStatus = Save(*options);
    out << "options moved to section GlobalOptions of store Options\n";
    return std::max(status, optionsStatus);
}

int Run(Invocation const& invocation, std::ostream& out, std::ostream& err) {
    std::string const& command = invocation.words[0];
    if (command == "help") {
        out << kUsageText;
        return kDone;
    }
    if (command == "migrate-options") {
        ExpectArguments(invocation, 0, 0);
        return MigrateOptions(out);
    }
    auto store = OpenStore(invocation.store);
    if (command == "list") {
        ExpectArguments(invocation, 0, 1);
        return invocation.words.size() == 1 ? ListSections(*store, out)
                                            : ListSection(*store, invocation.words[1], out);
    }
    if (command == "get") {
        ExpectArguments(invocation, 2, 2);
        return Get(*store, invocation, out, err);
    }
    if (command == "set") {
        ExpectArguments(invocation, 3, 4);
        return SetOrClear(*store, invocation, err);
    }
    if (command == "clear") {
        ExpectArguments(invocation, 2, 3);
        return SetOrClear(*store, invocation, err);
    }
    if (command == "rename-section") {
        ExpectArguments(invocation, 2, 2);
        return RenameSection(*store, invocation.store, invocation.words[1], invocation.words[2],
                             err);
    }
    if (command == "migrate-administrators") {
        ExpectArguments(invocation, 0, 0);
        auto settings = OpenStore(kSettingsPreferenceKey);
        return RenameSection(*settings, kSettingsPreferenceKey, "Administrator",
                             AdministratorsSettingSection().str(), err);
    }
    throw UsageError("unknown command " + command);
}

// Digits of text[from, from + count) as a number, or -1.
int Digits(std::string_view text, std::size_t from, std::size_t count) {
    int value = 0;
    if (from + count > text.size()) {
        return -1;
    }
    auto result = std::from_chars(text.data() + from, text.data() + from + count, value);
    return result.ec == std::errc() && result.ptr == text.data() + from + count ? value : -1;
}

} // namespace

int RunZorSettings(std::vector<std::string> const& arguments, std::ostream& out,
                   std::ostream& err) {
    try {
        return Run(Parse(arguments), out, err);
    } catch (UsageError const& error) {
        err << "zorsettings: " << error.Message() << "\nTry 'zorsettings help'.\n";
        return kUsage;
    }
}

std::string FormatInstant(Instant instant) {
    if (instant == Instant::First()) {
        return "-";
    }
    std::int64_t unixMicroseconds = instant.UnixMicroseconds();
    std::int64_t seconds = unixMicroseconds / 1000000;
    std::int64_t fraction = unixMicroseconds % 1000000;
    if (fraction < 0) {
        seconds -= 1;
        fraction += 1000000;
    }
    std::time_t time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%06lldZ", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<long long>(fraction));
    return text;
}

std::optional<Instant> ParseInstant(std::string_view text) {
    if (text == "now") {
        return Instant::Now();
    }
    if (text == "-") {
        return Instant::First();
    }
    // YYYY-MM-DDTHH:MM:SS[.f]Z
    if (text.size() < 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' ||
        text[13] != ':' || text[16] != ':' || text.back() != 'Z') {
        return std::nullopt;
    }
    std::tm parts{};
    parts.tm_year = Digits(text, 0, 4) - 1900;
    parts.tm_mon = Digits(text, 5, 2) - 1;
    parts.tm_mday = Digits(text, 8, 2);
    parts.tm_hour = Digits(text, 11, 2);
    parts.tm_min = Digits(text, 14, 2);
    parts.tm_sec = Digits(text, 17, 2);
    std::string_view fraction = text.substr(19, text.size() - 20);
    if (parts.tm_year < -1900 || parts.tm_mon < 0 || parts.tm_mon > 11 || parts.tm_mday < 1 ||
        parts.tm_mday > 31 || parts.tm_hour < 0 || parts.tm_hour > 23 || parts.tm_min < 0 ||
        parts.tm_min > 59 || parts.tm_sec < 0 || parts.tm_sec > 59) {
        return std::nullopt;
    }
    std::int64_t microseconds = 0;
    if (!fraction.empty()) {
        if (fraction[0] != '.' || fraction.size() < 2 || fraction.size() > 7) {
            return std::nullopt;
        }
        int digits = Digits(fraction, 1, fraction.size() - 1);
        if (digits < 0) {
            return std::nullopt;
        }
        microseconds = digits;
        for (std::size_t i = fraction.size() - 1; i < 6; ++i) {
            microseconds *= 10;
        }
    }
    std::int64_t seconds = ::timegm(&parts);
    return Instant::FromUnixMicroseconds(seconds * 1000000 + microseconds);
}

std::string Printable(std::string_view bytes) {
    bool text = IsPropertyListText(bytes);
    std::string shown;
    for (unsigned char byte : bytes) {
        if (byte < 0x20 || byte == 0x7f || byte == '\\' || (!text && byte >= 0x80)) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", byte);
            shown += escape;
        } else {
            shown += static_cast<char>(byte);
        }
    }
    return shown;
}
