#include <cctype>

#include "evaluator/evaluator.h"
#include "evaluator/syntax.h"

namespace zor::detail {
namespace {

[[noreturn]] void syntaxError(int column, std::string const& message) {
    throw ExpressionError(ExpressionError::Kind::Syntax, column, message);
}

bool isWordChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

class Lexer {
public:
    explicit Lexer(std::string_view text) : text_(text) {}

    std::vector<Token> run() {
        std::vector<Token> tokens;
        while (true) {
            skipSpace();
            if (pos_ >= text_.size()) {
                tokens.push_back(Token{Token::Kind::End, "", column()});
                return tokens;
            }
            tokens.push_back(next());
        }
    }

private:
    int column() const { return static_cast<int>(pos_) + 1; }

    void skipSpace() {
        while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_])))
            ++pos_;
    }

    Token next() {
        char c = text_[pos_];
        if (c == '"')
            return string();
        if (std::isdigit(static_cast<unsigned char>(c)))
            return integer();
        if (isWordChar(c))
            return word();
        return symbol();
    }

    Token string() {
        int start = column();
        ++pos_;
        std::string bytes;
        while (true) {
            if (pos_ >= text_.size())
                syntaxError(start, "unterminated string: a closing \" is missing");
            char c = text_[pos_];
            if (c == '"')
                break;
            if (c == '%') {
                int high = pos_ + 1 < text_.size() ? hexValue(text_[pos_ + 1]) : -1;
                int low = pos_ + 2 < text_.size() ? hexValue(text_[pos_ + 2]) : -1;
                if (high < 0 || low < 0)
                    syntaxError(column(), "\"%\" in a string must be followed by two hex digits");
                bytes.push_back(static_cast<char>(high * 16 + low));
                pos_ += 3;
                continue;
            }
            bytes.push_back(c);
            ++pos_;
        }
        ++pos_;
        return Token{Token::Kind::String, std::move(bytes), start};
    }

    Token integer() {
        int start = column();
        std::size_t begin = pos_;
        while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_])))
            ++pos_;
        std::string digits(text_.substr(begin, pos_ - begin));
        // The magnitude of the most negative integer is let through for "-".
        static std::string const limit = "9223372036854775808";
        std::string trimmed = digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
        if (trimmed.size() > limit.size() || (trimmed.size() == limit.size() && trimmed > limit))
            syntaxError(start, "integer " + digits + " is out of range");
        return Token{Token::Kind::Integer, trimmed.empty() ? "0" : trimmed, start};
    }

    Token word() {
        int start = column();
        std::size_t begin = pos_;
        while (pos_ < text_.size() && isWordChar(text_[pos_]))
            ++pos_;
        std::string lowered(text_.substr(begin, pos_ - begin));
        for (char& ch : lowered)
            ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
        return Token{Token::Kind::Word, std::move(lowered), start};
    }

    Token symbol() {
        int start = column();
        static char const* const twoChar[] = {"!=", "<=", ">="};
        for (char const* s : twoChar)
            if (text_.substr(pos_, 2) == s) {
                pos_ += 2;
                return Token{Token::Kind::Symbol, s, start};
            }
        char c = text_[pos_];
        if (std::string_view("(),;&+-*/=<>").find(c) == std::string_view::npos)
            syntaxError(start, std::string("unexpected character \"") + c + "\"");
        ++pos_;
        return Token{Token::Kind::Symbol, std::string(1, c), start};
    }

    std::string_view text_;
    std::size_t pos_ = 0;
};

} // namespace

std::vector<Token> tokenize(std::string_view text) {
    return Lexer(text).run();
}

} // namespace zor::detail
