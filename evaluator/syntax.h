// Tokens and the syntax tree of an expression, before binding.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zor::detail {

struct Token {
    enum class Kind { Word, String, Integer, Symbol, End };
    Kind kind = Kind::End;
    std::string text; // words lowercased; strings decoded; integers and symbols as written
    int column = 0;   // 1-based

    bool is(std::string_view word) const { return kind == Kind::Word && text == word; }
    bool isSymbol(std::string_view symbol) const { return kind == Kind::Symbol && text == symbol; }
};

// Splits an expression into tokens; throws ExpressionError (Syntax) on bad input.
std::vector<Token> tokenize(std::string_view text);

enum class Relation {
    Equal,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    StartsWith,
    EndsWith,
    Contains
};

struct Syntax {
    enum class Kind {
        Integer,
        String,
        Boolean,
        It,
        Phrase, // words [index] [whose...] [of object]
        Group,  // ( expr ) [whose...] [of object]
        Cast,   // operand as words
        Negate,
        Not,
        Exists,
        NumberOf,
        Arithmetic, // op in `op`: + - * / mod &
        Relation,
        And,
        Or,
        If,
        Tuple,
        Collection,
    };
    Kind kind;
    int column = 0;
    std::string text;        // phrase or type words, string bytes, or operator symbol
    std::int64_t number = 0; // integer literal, boolean literal
    Relation relation = Relation::Equal;
    bool negated = false;
    int depth = 1;                              // height of the tree below and including this node
    std::unique_ptr<Syntax> index;              // Phrase: the index
    std::unique_ptr<Syntax> object;             // Phrase, Group: what follows "of"
    std::vector<std::unique_ptr<Syntax>> whose; // Phrase, Group: filters in order
    std::vector<std::unique_ptr<Syntax>> operands; // everything else
};

using SyntaxPtr = std::unique_ptr<Syntax>;

// Parses a whole expression; throws ExpressionError (Syntax) with the column.
SyntaxPtr parse(std::string_view text);

// Limits that keep a hostile expression from exhausting the stack of the
// recursive parser, binder and evaluator: parenthesised nesting, and the
// height of the tree (long operator chains are deep too).
inline constexpr int kMaxNesting = 600;
inline constexpr int kMaxDepth = 1000;

} // namespace zor::detail
