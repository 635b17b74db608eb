#include "mondrian/mdx/mdx_check.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

/// What the engine answers when it is asked for its functions, in lower case and sorted.
constexpr auto functions = std::to_array<std::string_view>({
    "abs",
    "acos",
    "acosh",
    "addcalculatedmembers",
    "aggregate",
    "allmembers",
    "ancestor",
    "ancestors",
    "asc",
    "ascb",
    "ascendants",
    "ascw",
    "asin",
    "asinh",
    "atan2",
    "atanh",
    "atn",
    "avg",
    "bottomcount",
    "bottompercent",
    "bottomsum",
    "cache",
    "calculatedchild",
    "caption",
    "cast",
    "cbool",
    "cbyte",
    "cdate",
    "cdbl",
    "children",
    "chr",
    "chrb",
    "chrw",
    "cint",
    "closingperiod",
    "coalesceempty",
    "correlation",
    "cos",
    "cosh",
    "count",
    "cousin",
    "covariance",
    "covariancen",
    "crossjoin",
    "current",
    "currentdatemember",
    "currentdatestring",
    "currentmember",
    "currentordinal",
    "datamember",
    "date",
    "dateadd",
    "datediff",
    "datepart",
    "dateserial",
    "datevalue",
    "day",
    "ddb",
    "defaultmember",
    "degrees",
    "descendants",
    "dimension",
    "dimensions",
    "distinct",
    "drilldownlevel",
    "drilldownlevelbottom",
    "drilldownleveltop",
    "drilldownmember",
    "except",
    "exists",
    "exp",
    "extract",
    "filter",
    "firstchild",
    "firstq",
    "firstsibling",
    "fix",
    "format",
    "formatcurrency",
    "formatdatetime",
    "formatnumber",
    "formatpercent",
    "fv",
    "generate",
    "head",
    "hex",
    "hierarchize",
    "hierarchy",
    "hour",
    "iif",
    "instr",
    "instrrev",
    "int",
    "intersect",
    "inversenormal",
    "ipmt",
    "irr",
    "isdate",
    "isempty",
    "item",
    "lag",
    "lastchild",
    "lastnonempty",
    "lastperiods",
    "lastsibling",
    "lcase",
    "lead",
    "left",
    "len",
    "level",
    "levels",
    "linregintercept",
    "linregpoint",
    "linregr2",
    "linregslope",
    "linregvariance",
    "log",
    "log10",
    "ltrim",
    "max",
    "median",
    "members",
    "mid",
    "min",
    "minute",
    "mirr",
    "mod",
    "month",
    "monthname",
    "mtd",
    "name",
    "nativizeset",
    "nextmember",
    "nonemptycrossjoin",
    "now",
    "nper",
    "npv",
    "nullvalue",
    "oct",
    "openingperiod",
    "order",
    "orderkey",
    "ordinal",
    "parallelperiod",
    "parameter",
    "paramref",
    "parent",
    "percentile",
    "periodstodate",
    "pi",
    "pmt",
    "power",
    "ppmt",
    "prevmember",
    "properties",
    "pv",
    "qtd",
    "radians",
    "rank",
    "rate",
    "replace",
    "right",
    "round",
    "rtrim",
    "second",
    "settostr",
    "sgn",
    "siblings",
    "sin",
    "sinh",
    "sln",
    "space",
    "sqr",
    "sqrtpi",
    "stddev",
    "stddevp",
    "stdev",
    "stdevp",
    "str",
    "strcomp",
    "string",
    "stripcalculatedmembers",
    "strreverse",
    "strtomember",
    "strtoset",
    "strtotuple",
    "subset",
    "sum",
    "syd",
    "tail",
    "tan",
    "tanh",
    "thirdq",
    "time",
    "timer",
    "timeserial",
    "timevalue",
    "toggledrillstate",
    "topcount",
    "toppercent",
    "topsum",
    "trim",
    "tupletostr",
    "typename",
    "ucase",
    "union",
    "uniquename",
    "unorder",
    "val",
    "validmeasure",
    "value",
    "var",
    "variance",
    "variancep",
    "varp",
    "visualtotals",
    "weekday",
    "weekdayname",
    "wtd",
    "year",
    "ytd",
});

constexpr int deepest_nesting = 200;
constexpr std::size_t shown_rest = 40;

struct Token {
  enum class Kind { number, string, bracketed, word, symbol, end };
  Kind kind = Kind::end;
  /// A word is in lower case.
  std::string text;
  std::size_t position = 0;
};

/// Takes an expression apart.
class MdxScanner {
 public:
  explicit MdxScanner(std::string_view text) : text_(text) {}

  std::vector<Token> tokens() {
    std::vector<Token> result;
    do {
      skip_blanks();
      result.push_back(next());
    } while (result.back().kind != Token::Kind::end);
    return result;
  }

 private:
  void skip_blanks() {
    for (std::size_t before = text_.size() + 1; before != at_;) {
      before = at_;
      at_ = std::min(text_.find_first_not_of(" \t\r\n\f", at_), text_.size());
      skip_comment("--", "\n");
      skip_comment("//", "\n");
      skip_comment("/*", "*/");
    }
  }

  void skip_comment(std::string_view opening, std::string_view closing) {
    if (text_.substr(at_).starts_with(opening)) {
      const auto end = text_.find(closing, at_ + opening.size());
      at_ = end == std::string_view::npos ? text_.size() : end + closing.size();
    }
  }

  Token next() {
    Token token{Token::Kind::end, {}, at_};
    if (at_ == text_.size()) {
      return token;
    }
    const char c = text_[at_];
    if (c == '[' || c == '"' || c == '\'') {
      token.kind = c == '[' ? Token::Kind::bracketed : Token::Kind::string;
      if (!skip_quoted(c == '[' ? ']' : c)) {
        token.kind = Token::Kind::symbol;
      }
    } else if (is_digit(c) || (c == '.' && is_digit(peek(1)))) {
      token.kind = Token::Kind::number;
      skip_number();
    } else if (begins_word(c)) {
      token.kind = Token::Kind::word;
      while (begins_word(peek(0)) || is_digit(peek(0)) || peek(0) == '$') {
        ++at_;
      }
      token.text = lower_cased(text_.substr(token.position, at_ - token.position));
    } else {
      token.kind = Token::Kind::symbol;
      token.text = symbol();
      at_ += token.text.size();
    }
    return token;
  }

  char peek(std::size_t ahead) const {
    return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
  }

  static bool is_digit(char c) { return c >= '0' && c <= '9'; }
  static bool begins_word(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
  }

  /// Whether there is a closing quote at all.
  bool skip_quoted(char closing) {
    at_ = text_.find(closing, at_ + 1);
    while (at_ != std::string_view::npos && peek(1) == closing) {
      at_ = text_.find(closing, at_ + 2);
    }
    const bool is_closed = at_ != std::string_view::npos;
    at_ = is_closed ? at_ + 1 : text_.size();
    return is_closed;
  }

  void skip_number() {
    const auto skip_digits = [this] {
      while (is_digit(peek(0))) {
        ++at_;
      }
    };
    skip_digits();
    at_ += peek(0) == '.' && !begins_word(peek(1)) ? 1 : 0;
    skip_digits();
    const auto sign = peek(1) == '+' || peek(1) == '-' ? 1U : 0U;
    if ((peek(0) == 'e' || peek(0) == 'E') && is_digit(peek(1 + sign))) {
      at_ += 1 + sign;
      skip_digits();
    }
  }

  std::string_view symbol() const {
    constexpr std::array<std::string_view, 4> pairs{"<>", "<=", ">=", "||"};
    const auto next_two = text_.substr(at_, 2);
    const bool is_pair = std::find(pairs.begin(), pairs.end(), next_two) != pairs.end();
    return text_.substr(at_, is_pair ? 2 : 1);
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

/// Recognizes expressions; throws what is wrong.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text), tokens_(MdxScanner(text).tokens()) {}

  void read() {
    expression();
    require(current().kind == Token::Kind::end);
  }

 private:
  const Token& current() const { return tokens_[at_]; }
  bool is(std::string_view text) const {
    const auto& token = current();
    return (token.kind == Token::Kind::word || token.kind == Token::Kind::symbol) &&
           token.text == text;
  }
  bool take(std::string_view text) {
    const bool there = is(text);
    at_ += there ? 1 : 0;
    return there;
  }
  void require(bool condition) const {
    if (condition) {
      return;
    }
    if (current().kind == Token::Kind::end) {
      throw NotExpressible("its formula ends too early: " + std::string(text_));
    }
    auto rest = text_.substr(current().position);
    if (rest.size() > shown_rest) {
      auto end = shown_rest;
      while (end > 0 && (static_cast<unsigned char>(rest[end]) & 0xC0U) == 0x80U) {
        --end;
      }
      rest = rest.substr(0, end);
    }
    throw NotExpressible("its formula cannot be read from here on: " + std::string(rest));
  }

  void expression() {
    if (++depth_ > deepest_nesting) {
      throw NotExpressible("its formula is nested too deep");
    }
    operand();
    while (more_follows()) {
    }
    --depth_;
  }

  /// Takes an operator with its right side.
  bool more_follows() {
    if (take("is")) {
      if (!take("null") && !take("empty")) {
        operand();
      }
      return true;
    }
    if (take("as")) {
      require(current().kind == Token::Kind::word || current().kind == Token::Kind::bracketed);
      ++at_;
      return true;
    }
    const bool negated = take("not");
    if (take("in") || take("matches")) {
      operand();
      return true;
    }
    require(!negated);
    constexpr std::array<std::string_view, 15> operators{
        "+", "-", "*", "/", "||", "=", "<", ">", "<=", ">=", "<>", ":", "and", "or", "xor"};
    if (std::any_of(operators.begin(), operators.end(),
                    [this](std::string_view text) { return take(text); })) {
      operand();
      return true;
    }
    return false;
  }

  void operand() {
    while (take("+") || take("-") || take("not")) {
    }
    primary();
    while (take(".")) {
      take("&");
      require(current().kind == Token::Kind::word || current().kind == Token::Kind::bracketed);
      name();
    }
  }

  void primary() {
    if (current().kind == Token::Kind::number || current().kind == Token::Kind::string) {
      ++at_;
    } else if (take("(")) {
      list(")", false);
    } else if (take("{")) {
      if (!take("}")) {
        list("}", false);
      }
    } else if (take("case")) {
      cases();
    } else {
      require(current().kind == Token::Kind::bracketed ||
              (current().kind == Token::Kind::word && !ends_operand()));
      name();
    }
  }

  bool ends_operand() const {
    return is("and") || is("or") || is("xor") || is("then") || is("else") || is("end") ||
           is("when") || is("is") || is("in");
  }

  /// A name, or a call of a function, with a library in front of it or not.
  void name() {
    auto called = current();
    ++at_;
    while (called.kind == Token::Kind::word && take("!")) {
      require(current().kind == Token::Kind::word);
      called = current();
      ++at_;
    }
    if (!is("(")) {
      return;
    }
    require(called.kind == Token::Kind::word);
    if (!std::binary_search(functions.begin(), functions.end(), called.text)) {
      throw NotExpressible("the engine has no function '" +
                           std::string(text_.substr(called.position, called.text.size())) + "'");
    }
    ++at_;
    if (!take(")")) {
      list(")", true);
    }
  }

  /// Expressions between commas; arguments may be left out.
  void list(std::string_view closing, bool may_lack) {
    do {
      if (!may_lack || (!is(",") && !is(closing))) {
        expression();
      }
    } while (take(","));
    require(take(closing));
  }

  void cases() {
    if (!is("when")) {
      expression();
    }
    require(is("when"));
    while (take("when")) {
      expression();
      require(take("then"));
      expression();
    }
    if (take("else")) {
      expression();
    }
    require(take("end"));
  }

  std::string_view text_;
  std::vector<Token> tokens_;
  std::size_t at_ = 0;
  int depth_ = 0;
};

}  // namespace

std::string mdx_fault(std::string_view expression) {
  try {
    Reader(expression).read();
    return {};
  } catch (const ImportError& error) {
    return error.description();
  }
}

}  // namespace importkcd
