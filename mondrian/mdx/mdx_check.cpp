#include "mondrian/mdx/mdx_check.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "base/name_folding.h"
#include "mondrian/mdx/mdx_scanner.h"
#include "mondrian/not_expressible.h"

// The engine refuses a whole schema for one formula that it cannot read. So formulas are read here
// first, by recursive descent over the scanner's tokens: an expression is a row of operands between
// operators, whose precedence does not matter to the question whether it can be read; an operand is
// a number, a text, a list in parentheses or braces, a CASE, or names and calls of functions joined
// by points.

namespace importkcd {
namespace {

/// What the engine answers when it is asked for its functions, in lower case, each between blanks.
constexpr std::string_view engine_functions =
    " abs acos acosh addcalculatedmembers aggregate allmembers ancestor ancestors asc ascb"
    " ascendants ascw asin asinh atan2 atanh atn avg bottomcount bottompercent bottomsum cache"
    " calculatedchild caption cast cbool cbyte cdate cdbl children chr chrb chrw cint"
    " closingperiod coalesceempty correlation cos cosh count cousin covariance covariancen"
    " crossjoin current currentdatemember currentdatestring currentmember currentordinal"
    " datamember date dateadd datediff datepart dateserial datevalue day ddb defaultmember"
    " degrees descendants dimension dimensions distinct drilldownlevel drilldownlevelbottom"
    " drilldownleveltop drilldownmember except exists exp extract filter firstchild firstq"
    " firstsibling fix format formatcurrency formatdatetime formatnumber formatpercent fv"
    " generate head hex hierarchize hierarchy hour iif instr instrrev int intersect"
    " inversenormal ipmt irr isdate isempty item lag lastchild lastnonempty lastperiods"
    " lastsibling lcase lead left len level levels linregintercept linregpoint linregr2"
    " linregslope linregvariance log log10 ltrim max median members mid min minute mirr mod"
    " month monthname mtd name nativizeset nextmember nonemptycrossjoin now nper npv nullvalue"
    " oct openingperiod order orderkey ordinal parallelperiod parameter paramref parent"
    " percentile periodstodate pi pmt power ppmt prevmember properties pv qtd radians rank"
    " rate replace right round rtrim second settostr sgn siblings sin sinh sln space sqr"
    " sqrtpi stddev stddevp stdev stdevp str strcomp string stripcalculatedmembers strreverse"
    " strtomember strtoset strtotuple subset sum syd tail tan tanh thirdq time timer"
    " timeserial timevalue toggledrillstate topcount toppercent topsum trim tupletostr"
    " typename ucase union uniquename unorder val validmeasure value var variance variancep"
    " varp visualtotals weekday weekdayname wtd year ytd ";

bool is_engine_function(const std::string& name) {
  return engine_functions.find(" " + name + " ") != std::string_view::npos;
}

constexpr int deepest_nesting = 200;
constexpr std::size_t shown_rest = 40;

bool is_mdx_symbol(const MdxToken& token, std::string_view symbol) {
  return token.kind == MdxToken::Kind::symbol && token.text == symbol;
}

/// Recognizes expressions; throws what is wrong.
class MdxReader {
 public:
  explicit MdxReader(std::string_view text)
      : text_(text), scanner_(text), current_(scanner_.next()) {}

  void read() {
    expression();
    require(current_.kind == Kind::end);
  }

 private:
  using Kind = MdxToken::Kind;

  bool is(std::string_view text) const {
    return (current_.kind == Kind::word || current_.kind == Kind::symbol) && current_.text == text;
  }
  bool take(std::string_view text) {
    const bool there = is(text);
    if (there) {
      advance();
    }
    return there;
  }
  void advance() { current_ = scanner_.next(); }
  void require(bool condition) const {
    if (condition) {
      return;
    }
    if (current_.kind == Kind::end) {
      throw NotExpressible("its formula ends too early: " + std::string(text_));
    }
    auto rest = text_.substr(current_.begin);
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
      require(current_.kind == Kind::word || current_.kind == Kind::bracketed);
      advance();
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
      require(current_.kind == Kind::word || current_.kind == Kind::bracketed);
      name();
    }
  }

  void primary() {
    if (current_.kind == Kind::number || current_.kind == Kind::string) {
      advance();
    } else if (take("(")) {
      list(")", false);
    } else if (take("{")) {
      if (!take("}")) {
        list("}", false);
      }
    } else if (take("case")) {
      cases();
    } else {
      require(current_.kind == Kind::bracketed || (current_.kind == Kind::word && !ends_operand()));
      name();
    }
  }

  bool ends_operand() const {
    return is("and") || is("or") || is("xor") || is("then") || is("else") || is("end") ||
           is("when") || is("is") || is("in");
  }

  /// A name, or a call of a function, with a library in front of it or not.
  void name() {
    auto called = current_;
    advance();
    while (called.kind == Kind::word && take("!")) {
      require(current_.kind == Kind::word);
      called = current_;
      advance();
    }
    if (!is("(")) {
      return;
    }
    require(called.kind == Kind::word);
    if (!is_engine_function(called.text)) {
      throw NotExpressible("the engine has no function '" +
                           std::string(text_.substr(called.begin, called.end - called.begin)) +
                           "'");
    }
    advance();
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
  MdxScanner scanner_;
  MdxToken current_;
  int depth_ = 0;
};

/// Follows which parentheses and braces of an expression are open.
class OpenParentheses {
 public:
  /// Whether the token may come next: it is closed, and closes nothing but what was opened last.
  bool take(const MdxToken& token) {
    if (token.kind != MdxToken::Kind::symbol) {
      return token.kind != MdxToken::Kind::unclosed;
    }
    const char symbol = token.text.front();
    if (symbol == '(' || symbol == '{') {
      closing_ += symbol == '(' ? ')' : '}';
    } else if (symbol == ')' || symbol == '}') {
      if (closing_.empty() || closing_.back() != symbol) {
        return false;
      }
      closing_.pop_back();
    }
    return symbol != ']';
  }

  bool none() const { return closing_.empty(); }

 private:
  /// What closes them, the innermost last.
  std::string closing_;
};

}  // namespace

std::string mdx_fault(std::string_view expression) {
  try {
    MdxReader(expression).read();
    return {};
  } catch (const NotExpressible& error) {
    return error.description();
  }
}

bool is_balanced_mdx(std::string_view expression) {
  OpenParentheses open;
  MdxScanner scanner(expression);
  for (auto token = scanner.next(); token.kind != MdxToken::Kind::end; token = scanner.next()) {
    if (!open.take(token)) {
      return false;
    }
  }
  return open.none();
}

std::size_t end_of_mdx_item(std::string_view text) {
  OpenParentheses open;
  MdxScanner scanner(text);
  for (auto token = scanner.next(); open.take(token) && token.kind != MdxToken::Kind::end;
       token = scanner.next()) {
    if (open.none() && is_mdx_symbol(token, ",")) {
      return token.begin;
    }
  }
  return text.size();
}

std::vector<std::string> measures_named_in(std::string_view expression) {
  using Kind = MdxToken::Kind;
  std::vector<std::string> result;
  MdxScanner scanner(expression);
  MdxToken before_last;
  MdxToken last;
  for (auto token = scanner.next(); token.kind != Kind::end; token = scanner.next()) {
    const bool is_behind_measures =
        (before_last.kind == Kind::word || before_last.kind == Kind::bracketed) &&
        same_name(before_last.text, measures_dimension) && is_mdx_symbol(last, ".") &&
        last.begin == before_last.end && token.begin == last.end;
    if (is_behind_measures && token.kind == Kind::bracketed) {
      result.push_back(token.text);
      token = {};
      last = {};
    }
    before_last = std::exchange(last, std::move(token));
  }
  return result;
}

}  // namespace importkcd
