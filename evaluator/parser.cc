// Recursive-descent parser for the grammar, lowest precedence first:
//   expr  := tuple (";" tuple)*            tuple := cond ("," cond)*
//   cond  := "if" expr "then" expr "else" expr | or
//   or    := and ("or" and)*               and   := rel ("and" rel)*
//   rel   := sum [relop sum]               sum   := product (("+"|"-"|"&") product)*
//   product := unary (("*"|"/"|"mod") unary)*
//   unary := ("-"|"not"|"exists"|"exist"|"number of") unary | cast
//   cast  := ref ("as" words)*
//   ref   := head [index] ("whose" "(" expr ")")* ["of" ref]
//   head  := words | "(" expr ")" | literal | "it"
#include <algorithm>
#include <array>
#include <charconv>

#include "evaluator/evaluator.h"
#include "evaluator/syntax.h"

namespace zor::detail {
namespace {

// Words that give an expression its structure and so never belong to a phrase.
constexpr std::array<std::string_view, 22> kStopWords = {
    "of",   "whose",    "it",      "exists", "exist", "not", "and",    "or",
    "if",   "then",     "else",    "as",     "mod",   "is",  "equals", "equal",
    "does", "contains", "contain", "starts", "ends",  "true"};

bool isStopWord(std::string_view word) {
    return word == "false" ||
           std::find(kStopWords.begin(), kStopWords.end(), word) != kStopWords.end();
}

[[noreturn]] void syntaxError(int column, std::string const& message) {
    throw ExpressionError(ExpressionError::Kind::Syntax, column, message);
}

std::string describe(Token const& token) {
    switch (token.kind) {
    case Token::Kind::End:
        return "the end of the expression";
    case Token::Kind::String:
        return "a string";
    case Token::Kind::Integer:
        return "the number " + token.text;
    default:
        return "\"" + token.text + "\"";
    }
}

SyntaxPtr node(Syntax::Kind kind, int column) {
    auto result = std::make_unique<Syntax>();
    result->kind = kind;
    result->column = column;
    return result;
}

// Records a child and keeps the tree's height within bounds.
void adopt(Syntax& parent, SyntaxPtr const& child) {
    parent.depth = std::max(parent.depth, child->depth + 1);
    if (parent.depth > kMaxDepth)
        syntaxError(parent.column, "the expression is nested too deeply");
}

SyntaxPtr withOperands(Syntax::Kind kind, int column, std::vector<SyntaxPtr> operands) {
    auto result = node(kind, column);
    for (auto const& operand : operands)
        adopt(*result, operand);
    result->operands = std::move(operands);
    return result;
}

class Parser {
public:
    explicit Parser(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

    SyntaxPtr run() {
        auto result = expr();
        if (peek().kind != Token::Kind::End)
            syntaxError(peek().column,
                        "expected the end of the expression but found " + describe(peek()));
        return result;
    }

private:
    Token const& peek(std::size_t ahead = 0) const {
        return tokens_[std::min(pos_ + ahead, tokens_.size() - 1)];
    }
    Token const& take() { return tokens_[std::min(pos_++, tokens_.size() - 1)]; }
    bool takeWord(std::string_view word) {
        if (!peek().is(word))
            return false;
        ++pos_;
        return true;
    }
    bool takeSymbol(std::string_view symbol) {
        if (!peek().isSymbol(symbol))
            return false;
        ++pos_;
        return true;
    }
    void expectWord(std::string_view word) {
        if (!takeWord(word))
            syntaxError(peek().column,
                        "expected \"" + std::string(word) + "\" but found " + describe(peek()));
    }
    void expectSymbol(std::string_view symbol) {
        if (!takeSymbol(symbol))
            syntaxError(peek().column,
                        "expected \"" + std::string(symbol) + "\" but found " + describe(peek()));
    }

    // Guards the recursion of nested parts against stack exhaustion.
    struct Nesting {
        explicit Nesting(Parser& p) : parser(p) {
            if (++parser.nesting_ > kMaxNesting)
                syntaxError(parser.peek().column, "the expression is nested too deeply");
        }
        ~Nesting() { --parser.nesting_; }
        Parser& parser;
    };

    SyntaxPtr expr() {
        Nesting guard(*this);
        int column = peek().column;
        std::vector<SyntaxPtr> items;
        items.push_back(tuple());
        while (takeSymbol(";"))
            items.push_back(tuple());
        if (items.size() == 1)
            return std::move(items.front());
        return withOperands(Syntax::Kind::Collection, column, std::move(items));
    }

    SyntaxPtr tuple() {
        int column = peek().column;
        std::vector<SyntaxPtr> items;
        items.push_back(cond());
        while (takeSymbol(","))
            items.push_back(cond());
        if (items.size() == 1)
            return std::move(items.front());
        return withOperands(Syntax::Kind::Tuple, column, std::move(items));
    }

    SyntaxPtr cond() {
        if (!peek().is("if"))
            return disjunction();
        int column = take().column;
        std::vector<SyntaxPtr> parts;
        parts.push_back(expr());
        expectWord("then");
        parts.push_back(expr());
        expectWord("else");
        parts.push_back(expr());
        return withOperands(Syntax::Kind::If, column, std::move(parts));
    }

    template <typename Next> SyntaxPtr chain(Syntax::Kind kind, std::string_view word, Next next) {
        auto left = (this->*next)();
        while (peek().is(word)) {
            int column = take().column;
            std::vector<SyntaxPtr> pair;
            pair.push_back(std::move(left));
            pair.push_back((this->*next)());
            left = withOperands(kind, column, std::move(pair));
        }
        return left;
    }

    SyntaxPtr disjunction() { return chain(Syntax::Kind::Or, "or", &Parser::conjunction); }
    SyntaxPtr conjunction() { return chain(Syntax::Kind::And, "and", &Parser::relation); }

    SyntaxPtr relation() {
        auto left = sum();
        int column = peek().column;
        Relation relation;
        bool negated = false;
        if (!relop(relation, negated))
            return left;
        std::vector<SyntaxPtr> pair;
        pair.push_back(std::move(left));
        pair.push_back(sum());
        auto result = withOperands(Syntax::Kind::Relation, column, std::move(pair));
        result->relation = relation;
        result->negated = negated;
        return result;
    }

    // Reads a relational operator in any of its spellings.
    bool relop(Relation& relation, bool& negated) {
        static constexpr std::pair<std::string_view, Relation> symbols[] = {
            {"=", Relation::Equal},
            {"<", Relation::Less},
            {"<=", Relation::LessOrEqual},
            {">", Relation::Greater},
            {">=", Relation::GreaterOrEqual}};
        if (takeSymbol("!=")) {
            relation = Relation::Equal;
            negated = true;
            return true;
        }
        for (auto const& [symbol, rel] : symbols)
            if (takeSymbol(symbol)) {
                relation = rel;
                return true;
            }
        if (takeWord("equals")) {
            relation = Relation::Equal;
            return true;
        }
        if (takeWord("contains")) {
            relation = Relation::Contains;
            return true;
        }
        if (peek().is("starts") || peek().is("ends")) {
            relation = take().is("starts") ? Relation::StartsWith : Relation::EndsWith;
            expectWord("with");
            return true;
        }
        if (takeWord("does")) {
            expectWord("not");
            negated = true;
            if (takeWord("contain")) {
                relation = Relation::Contains;
                return true;
            }
            if (peek().is("start") || peek().is("end")) {
                relation = take().is("start") ? Relation::StartsWith : Relation::EndsWith;
                expectWord("with");
                return true;
            }
            syntaxError(peek().column, "expected \"contain\", \"start with\" or \"end with\" "
                                       "after \"does not\" but found " +
                                           describe(peek()));
        }
        if (!takeWord("is"))
            return false;
        negated = takeWord("not");
        relation = Relation::Equal;
        if (takeWord("equal")) {
            expectWord("to");
        } else if (peek().is("less") || peek().is("greater")) {
            bool less = take().is("less");
            expectWord("than");
            bool orEqual = false;
            if (peek().is("or") && peek(1).is("equal")) {
                pos_ += 2;
                expectWord("to");
                orEqual = true;
            }
            relation = less ? (orEqual ? Relation::LessOrEqual : Relation::Less)
                            : (orEqual ? Relation::GreaterOrEqual : Relation::Greater);
        }
        return true;
    }

    SyntaxPtr sum() {
        auto left = product();
        while (peek().isSymbol("+") || peek().isSymbol("-") || peek().isSymbol("&"))
            left = binary(std::move(left), &Parser::product);
        return left;
    }

    SyntaxPtr product() {
        auto left = unary();
        while (peek().isSymbol("*") || peek().isSymbol("/") || peek().is("mod"))
            left = binary(std::move(left), &Parser::unary);
        return left;
    }

    SyntaxPtr binary(SyntaxPtr left, SyntaxPtr (Parser::*next)()) {
        Token const& op = take();
        std::vector<SyntaxPtr> pair;
        pair.push_back(std::move(left));
        pair.push_back((this->*next)());
        auto result = withOperands(Syntax::Kind::Arithmetic, op.column, std::move(pair));
        result->text = op.text;
        return result;
    }

    SyntaxPtr unary() {
        Nesting guard(*this);
        Token const& token = peek();
        int column = token.column;
        Syntax::Kind kind;
        if (token.isSymbol("-")) {
            if (peek(1).kind == Token::Kind::Integer) {
                ++pos_;
                return cast(integerLiteral(true));
            }
            kind = Syntax::Kind::Negate;
        } else if (token.is("not")) {
            kind = Syntax::Kind::Not;
        } else if (token.is("exists") || token.is("exist")) {
            kind = Syntax::Kind::Exists;
        } else if (token.is("number") && peek(1).is("of")) {
            ++pos_;
            kind = Syntax::Kind::NumberOf;
        } else {
            return cast(ref());
        }
        ++pos_;
        std::vector<SyntaxPtr> operand;
        operand.push_back(unary());
        return withOperands(kind, column, std::move(operand));
    }

    SyntaxPtr cast(SyntaxPtr operand) {
        while (peek().is("as")) {
            int column = take().column;
            std::vector<SyntaxPtr> one;
            one.push_back(std::move(operand));
            operand = withOperands(Syntax::Kind::Cast, column, std::move(one));
            operand->text = words("a type name after \"as\"");
        }
        return operand;
    }

    // A run of phrase words, joined by single spaces.
    std::string words(char const* what) {
        std::string joined;
        while (peek().kind == Token::Kind::Word && !isStopWord(peek().text)) {
            if (!joined.empty())
                joined += ' ';
            joined += take().text;
        }
        if (joined.empty())
            syntaxError(peek().column,
                        std::string("expected ") + what + " but found " + describe(peek()));
        return joined;
    }

    SyntaxPtr integerLiteral(bool negative) {
        Token const& token = take();
        std::uint64_t magnitude = 0;
        std::from_chars(token.text.data(), token.text.data() + token.text.size(), magnitude);
        constexpr std::uint64_t most = 9223372036854775807ULL;
        if (magnitude > most + (negative ? 1 : 0))
            syntaxError(token.column, "integer " + token.text + " is out of range");
        auto result = node(Syntax::Kind::Integer, negative ? token.column - 1 : token.column);
        result->number = negative ? static_cast<std::int64_t>(0 - magnitude)
                                  : static_cast<std::int64_t>(magnitude);
        return result;
    }

    bool startsIndex() const {
        Token const& t = peek();
        return t.kind == Token::Kind::String || t.kind == Token::Kind::Integer || t.is("it") ||
               t.isSymbol("(");
    }

    SyntaxPtr ref() {
        Nesting guard(*this);
        SyntaxPtr result = head();
        if (result->kind == Syntax::Kind::Phrase && startsIndex()) {
            result->index = indexOperand();
            adopt(*result, result->index);
        }
        while (peek().is("whose")) {
            take();
            expectSymbol("(");
            auto condition = expr();
            expectSymbol(")");
            adopt(*result, condition);
            result->whose.push_back(std::move(condition));
        }
        if (peek().is("of")) {
            int column = take().column;
            if (result->kind != Syntax::Kind::Phrase && result->kind != Syntax::Kind::Group)
                syntaxError(column, "\"of\" must follow a phrase or a parenthesized expression");
            result->object = ref();
            adopt(*result, result->object);
        }
        return result;
    }

    SyntaxPtr indexOperand() {
        if (peek().isSymbol("(")) {
            take();
            auto inner = expr();
            expectSymbol(")");
            return inner;
        }
        return head();
    }

    SyntaxPtr head() {
        Token const& token = peek();
        switch (token.kind) {
        case Token::Kind::String: {
            auto result = node(Syntax::Kind::String, token.column);
            result->text = take().text;
            return result;
        }
        case Token::Kind::Integer:
            return integerLiteral(false);
        case Token::Kind::Symbol:
            if (token.isSymbol("(")) {
                int column = take().column;
                auto inner = expr();
                expectSymbol(")");
                auto group = node(Syntax::Kind::Group, column);
                adopt(*group, inner);
                group->operands.push_back(std::move(inner));
                return group;
            }
            break;
        case Token::Kind::Word:
            if (token.is("it"))
                return node(Syntax::Kind::It, take().column);
            if (token.is("true") || token.is("false")) {
                auto result = node(Syntax::Kind::Boolean, token.column);
                result->number = take().is("true");
                return result;
            }
            if (!isStopWord(token.text)) {
                auto result = node(Syntax::Kind::Phrase, token.column);
                result->text = words("a phrase");
                return result;
            }
            break;
        case Token::Kind::End:
            break;
        }
        syntaxError(token.column, "expected a value but found " + describe(token));
    }

    std::vector<Token> tokens_;
    std::size_t pos_ = 0;
    int nesting_ = 0;
};

} // namespace

SyntaxPtr parse(std::string_view text) {
    return Parser(tokenize(text)).run();
}

} // namespace zor::detail
