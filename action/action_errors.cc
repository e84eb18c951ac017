#include "action/action_errors.h"

#include <exception>

std::string GetActionSyntaxErrorString() {
    if (!std::current_exception())
        return "Unknown ActionSyntaxError.";
    // The capitalisation differs between the elseif messages ("ElseIf" and
    // "Elseif"); hosts match these texts, so both stay as they are.
    try {
        throw;
    } catch (ElseifWithoutIf const&) {
        return "ElseIf encountered without If.";
    } catch (ElseWithoutIf const&) {
        return "Else encountered without If.";
    } catch (EndifWithoutIf const&) {
        return "Endif encountered without If.";
    } catch (ElseifAfterElse const&) {
        return "Elseif encountered after Else.";
    } catch (ElseAfterElse const&) {
        return "Else encountered after Else.";
    } catch (MissingEndif const&) {
        return "Missing Endif.";
    } catch (MissingCreateFileDelimiter const&) {
        return "Missing 'createfile until' end delimiter.";
    } catch (SubstitutionError const&) {
        return "Relevance substitution error.";
    } catch (UnknownCommand const&) {
        return "Unknown action command.";
    } catch (PrefetchCommandSyntaxError const&) {
        return "Prefetch command syntax error.";
    } catch (DownloadNameError const&) {
        return "Download name is invalid.";
    } catch (ActionSyntaxError const&) {
        return "Non-specific syntax error.";
    } catch (...) {
        // Any other exception is only being named here; the caller's handler owns it.
        return "Unknown ActionSyntaxError.";
    }
}
