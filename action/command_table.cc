#include "action/action_shell_parser.h"

namespace {

constexpr WinVersion kAny{{0, 0, 0, 0}, 4};
constexpr WinVersion kV6{{6, 0, 0, 0}, 4};
constexpr WinVersion kV6_0_14{{6, 0, 14, 0}, 4};

} // namespace

// Matching takes the first row whose keyword begins the line, so a keyword
// must come before every shorter keyword that is its prefix ("regset64"
// before "regset", "download now as" before "download as" before
// "download"). Do not reorder.
// clang-format off
ActionShellParser::Command const ActionShellParser::commandTable[NumCommands] = {
//   keyword                                      code  enabled auxiliary minimumVersion
    {"delete",                                      1,  true,   false,    kAny},     //  1
    {"copy",                                        2,  true,   false,    kAny},     //  2
    {"move",                                        3,  true,   false,    kAny},     //  3
    {"regset64",                                   66,  true,   false,    kV6},      //  4
    {"regdelete64",                                67,  true,   false,    kV6},      //  5
    {"script64",                                   68,  true,   false,    kV6},      //  6
    {"regset",                                      4,  true,   false,    kAny},     //  7
    {"regdelete",                                   5,  true,   false,    kAny},     //  8
    {"quamel delete",                               6,  true,   false,    kAny},     //  9
    {"pause while",                                 8,  true,   false,    kAny},     // 10
    {"enable gathering",                            7,  true,   false,    kAny},     // 11
    {"quamel close",                                9,  true,   false,    kAny},     // 12
    {"quamel restore",                             10,  true,   false,    kAny},     // 13
    {"browse to",                                  11,  true,   false,    kAny},     // 14
    {"dos",                                        12,  true,   false,    kAny},     // 15
    {"runhidden",                                  63,  true,   false,    kV6},      // 16
    {"waithidden",                                 64,  true,   false,    kV6},      // 17
    {"rundetached",                                46,  true,   false,    kAny},     // 18
    {"waitdetached",                               47,  true,   false,    kAny},     // 19
    {"run",                                        13,  true,   false,    kAny},     // 20
    {"wait",                                       14,  true,   false,    kAny},     // 21
    {"script",                                     15,  true,   false,    kAny},     // 22
    {"open",                                       16,  true,   false,    kAny},     // 23
    {"download now as",                            53,  true,   false,    kV6},      // 24
    {"download as",                                52,  true,   false,    kV6},      // 25
    {"download",                                   17,  true,   false,    kAny},     // 26
    {"appendfile",                                 18,  true,   false,    kAny},     // 27
    {"unsubscribe",                                19,  true,   true,     kAny},     // 28
    {"module delete",                              20,  true,   false,    kAny},     // 29
    {"module add",                                 21,  true,   false,    kAny},     // 30
    {"module commit",                              22,  true,   false,    kAny},     // 31
    {"//",                                         29,  true,   true,     kAny},     // 32
    {"site force evaluation",                      23,  true,   false,    kAny},     // 33
    {"site gather schedule publisher",             24,  true,   false,    kAny},     // 34
    {"site gather schedule manual",                25,  true,   false,    kAny},     // 35
    {"site gather schedule disable",               26,  true,   false,    kAny},     // 36
    {"site gather schedule seconds",               27,  true,   false,    kAny},     // 37
    {"continue if",                                28,  true,   true,     kAny},     // 38
    {"set clock",                                  30,  true,   true,     kAny},     // 39
    {"restart",                                    31,  true,   false,    kAny},     // 40
    {"shutdown",                                   32,  true,   false,    kAny},     // 41
    {"action lock until",                          35,  true,   true,     kAny},     // 42
    {"action lock indefinite",                     33,  true,   true,     kAny},     // 43
    {"action unlock",                              34,  true,   true,     kAny},     // 44
    {"action requires restart",                    36,  true,   true,     kAny},     // 45
    {"action may require restart",                 37,  true,   true,     kAny},     // 46
    {"action requires login",                      38,  true,   true,     kAny},     // 47
    {"action parameter query",                     39,  true,   true,     kAny},     // 48
    {"setting delete",                             41,  true,   true,     kAny},     // 49
    {"setting",                                    40,  true,   true,     kAny},     // 50
    {"administrator add",                          42,  true,   true,     kAny},     // 51
    {"administrator delete",                       43,  true,   true,     kAny},     // 52
    {"administrative rights enable",               44,  true,   true,     kAny},     // 53
    {"administrative rights disable",              45,  true,   true,     kAny},     // 54
    {"subscribe",                                  72,  true,   true,     kAny},     // 55
    {"relay select",                               48,  true,   true,     kAny},     // 56
    {"archive now",                                49,  true,   false,    kAny},     // 57
    {"extract",                                    50,  true,   false,    kAny},     // 58
    {"utility",                                    51,  true,   true,     kV6},      // 59
    {"if",                                         54,  true,   true,     kV6},      // 60
    {"elseif",                                     55,  true,   true,     kV6},      // 61
    {"else",                                       56,  true,   true,     kV6},      // 62
    {"endif",                                      57,  true,   true,     kV6},      // 63
    {"parameter",                                  58,  true,   true,     kV6},      // 64
    {"createfile until",                           59,  true,   false,    kV6},      // 65
    {"prefetch",                                   60,  true,   false,    kV6},      // 66
    {"custom site subscribe",                      61,  true,   true,     kV6},      // 67
    {"custom site unsubscribe",                    62,  true,   true,     kV6},      // 68
    {"action uses wow64 redirection",              65,  true,   true,     kV6},      // 69
    {"action launch preference low-priority",      69,  true,   false,    kV6},      // 70
    {"action launch preference normal-priority",   70,  true,   false,    kV6},      // 71
    {"notify client",                              71,  true,   true,     kV6_0_14}, // 72
};
// clang-format on
