#include "mondrian/sql/join_graph.h"

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <utility>

// The clauses are read by recursive descent over their SQL tokens; each method of ClauseParser
// quotes the rule that it follows. What a parenthesis in a condition stands around, a conjunction
// or a column, is known only behind it: a conjunction is tried first, and after a failure the
// parser goes back to the parenthesis. The columns of equalities are looked up when all tables are
// known; an equality that is not between columns of two of them makes the clauses no graph. In the
// graph tables are nodes and equalities are edges; the way between two tables is searched breadth
// first.

namespace importkcd {
namespace {

/// Words that end a table of a from clause, so that they are no alias.
bool is_join_word(const SqlToken& token) {
  constexpr std::array<std::string_view, 8> words{"INNER", "JOIN",  "ON",   "CROSS",
                                                  "LEFT",  "RIGHT", "FULL", "NATURAL"};
  return std::any_of(words.begin(), words.end(),
                     [&](std::string_view word) { return is_word(token, word); });
}

/// A clause with more parentheses inside of each other is no list of tables that anybody wrote.
constexpr int deepest_parenthesis = 200;

/// An equality as it stands, before its tables are known.
struct PathEquality {
  SqlPath left;
  SqlPath right;
};

/// Recognizes clauses token by token. After a failure nothing more is read.
class ClauseParser {
 public:
  explicit ClauseParser(const SqlText& text, DatabaseKind kind) : text_(text), kind_(kind) {}

  /// tables: item { "," item }
  bool tables(std::vector<SourceTable>& tables, std::vector<PathEquality>& conditions) {
    do {
      join(tables, conditions);
    } while (!failed_ && take_symbol(","));
    return at_end();
  }

  bool conditions(std::vector<PathEquality>& conditions) {
    conjunction(conditions);
    return at_end();
  }

 private:
  bool at_end() const { return !failed_ && position_ == text_.size(); }
  bool more() const { return !failed_ && position_ < text_.size(); }

  bool take_symbol(std::string_view symbol) {
    const bool there = more() && is_symbol(text_[position_], symbol);
    position_ += there ? 1 : 0;
    return there;
  }

  bool take_word(std::string_view word) {
    const bool there = more() && is_word(text_[position_], word);
    position_ += there ? 1 : 0;
    return there;
  }

  void require(bool condition) { failed_ = failed_ || !condition; }

  bool open_parenthesis() {
    const bool there = take_symbol("(");
    depth_ += there ? 1 : 0;
    require(depth_ <= deepest_parenthesis);
    return there;
  }

  void close_parenthesis() {
    require(take_symbol(")"));
    --depth_;
  }

  /// item { [INNER] JOIN item ON conjunction | CROSS JOIN item }
  void join(std::vector<SourceTable>& tables, std::vector<PathEquality>& conditions) {
    item(tables, conditions);
    while (more()) {
      if (take_word("CROSS")) {
        require(take_word("JOIN"));
        item(tables, conditions);
      } else if (take_word("INNER") || (more() && is_word(text_[position_], "JOIN"))) {
        require(take_word("JOIN"));
        item(tables, conditions);
        require(take_word("ON"));
        conjunction(conditions);
      } else {
        return;
      }
    }
  }

  void item(std::vector<SourceTable>& tables, std::vector<PathEquality>& conditions) {
    if (open_parenthesis()) {
      join(tables, conditions);
      close_parenthesis();
      return;
    }
    require(more() && is_path() && !is_join_word(text_[position_]));
    if (failed_) {
      return;
    }
    SourceTable table;
    for (const auto& name : text_[position_++].path) {
      table.qualifiers.push_back(known_name(kind_, name));
    }
    table.name = std::move(table.qualifiers.back());
    table.qualifiers.pop_back();
    table.alias = alias().value_or(table.name);
    tables.push_back(std::move(table));
  }

  std::optional<std::string> alias() {
    const bool announced = take_word("AS");
    const bool there =
        more() && is_path() && text_[position_].path.size() == 1 && !is_join_word(text_[position_]);
    require(there || !announced);
    if (!there) {
      return std::nullopt;
    }
    return known_name(kind_, text_[position_++].path[0]);
  }

  bool is_path() const { return text_[position_].kind == SqlToken::Kind::path; }

  void conjunction(std::vector<PathEquality>& conditions) {
    do {
      condition(conditions);
    } while (!failed_ && take_word("AND"));
  }

  /// "(" starts a conjunction or stands around a column.
  void condition(std::vector<PathEquality>& conditions) {
    const auto start = position_;
    const auto depth = depth_;
    const auto known = conditions.size();
    if (open_parenthesis()) {
      conjunction(conditions);
      close_parenthesis();
      if (!failed_) {
        return;
      }
      failed_ = false;
      position_ = start;
      depth_ = depth;
      conditions.resize(known);
    }
    PathEquality equality;
    equality.left = column();
    require(take_symbol("="));
    equality.right = column();
    conditions.push_back(std::move(equality));
  }

  SqlPath column() {
    if (open_parenthesis()) {
      auto inner = column();
      close_parenthesis();
      return inner;
    }
    require(more() && is_path() && text_[position_].path.size() > 1);
    return failed_ ? SqlPath{} : text_[position_++].path;
  }

  const SqlText& text_;
  DatabaseKind kind_;
  std::size_t position_ = 0;
  /// How many parentheses are open.
  int depth_ = 0;
  bool failed_ = false;
};

JoinEquality reversed(const JoinEquality& equality) { return {equality.right, equality.left}; }

/// Whether the graph takes the conditions: each between two of its tables.
bool add_equalities(JoinGraph& graph, const std::vector<PathEquality>& conditions) {
  for (const auto& condition : conditions) {
    const auto left = graph.column_of(condition.left);
    const auto right = graph.column_of(condition.right);
    if (!left || !right || left->table == right->table) {
      return false;
    }
    const JoinEquality equality{*left, *right};
    const auto& known = graph.equalities;
    if (std::find(known.begin(), known.end(), equality) == known.end() &&
        std::find(known.begin(), known.end(), reversed(equality)) == known.end()) {
      graph.equalities.push_back(equality);
    }
  }
  return true;
}

/// Whether what stands in front of a table's name agrees, as far as both say something.
bool agree_in_front(DatabaseKind kind, const SourceTable& table, const SqlPath& qualifiers) {
  auto own = table.qualifiers.rbegin();
  for (auto given = qualifiers.rbegin() + 1;
       given != qualifiers.rend() && own != table.qualifiers.rend(); ++given, ++own) {
    if (!same_known_name(kind, *own, known_name(kind, *given))) {
      return false;
    }
  }
  return true;
}

bool has_two_of_one_alias(const JoinGraph& graph) {
  for (std::size_t i = 0; i < graph.tables.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (same_known_name(graph.kind, graph.tables[i].alias, graph.tables[j].alias)) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace

const SourceTable* JoinGraph::find(std::string_view alias) const {
  const auto found = std::find_if(tables.begin(), tables.end(),
                                  [&](const SourceTable& table) { return table.alias == alias; });
  return found == tables.end() ? nullptr : &*found;
}

const SourceTable* JoinGraph::table_of(const SqlPath& qualifiers) const {
  const auto known = known_name(kind, qualifiers.back());
  const SourceTable* by_name = nullptr;
  std::size_t of_that_name = 0;
  for (const auto& table : tables) {
    if (!agree_in_front(kind, table, qualifiers)) {
      continue;
    }
    if (same_known_name(kind, table.alias, known)) {
      return &table;
    }
    if (same_known_name(kind, table.name, known)) {
      by_name = &table;
      ++of_that_name;
    }
  }
  return of_that_name == 1 ? by_name : nullptr;
}

void JoinGraph::rename(const std::string& alias, const std::string& new_alias) {
  for (auto& table : tables) {
    if (table.alias == alias) {
      table.alias = new_alias;
    }
  }
  for (auto& equality : equalities) {
    for (auto* column : {&equality.left, &equality.right}) {
      if (column->table == alias) {
        column->table = new_alias;
      }
    }
  }
}

std::optional<SourceColumn> JoinGraph::column_of(const SqlPath& path) const {
  if (path.size() < 2) {
    return std::nullopt;
  }
  const auto* table = table_of(SqlPath(path.begin(), path.end() - 1));
  if (table == nullptr) {
    return std::nullopt;
  }
  return SourceColumn{table->alias, known_name(kind, path.back())};
}

std::vector<JoinEquality> JoinGraph::between(const std::set<std::string>& left,
                                             const std::set<std::string>& right) const {
  std::vector<JoinEquality> result;
  for (const auto& equality : equalities) {
    if (left.contains(equality.left.table) && right.contains(equality.right.table)) {
      result.push_back(equality);
    } else if (left.contains(equality.right.table) && right.contains(equality.left.table)) {
      result.push_back(reversed(equality));
    }
  }
  return result;
}

std::vector<std::string> JoinGraph::way(const std::string& from,
                                        const std::set<std::string>& targets) const {
  std::map<std::string, std::string> reached_from{{from, {}}};
  std::deque<std::string> next{from};
  while (!next.empty()) {
    const auto at = next.front();
    next.pop_front();
    if (targets.contains(at)) {
      std::vector<std::string> result;
      for (auto step = at; !step.empty(); step = reached_from.at(step)) {
        result.insert(result.begin(), step);
      }
      return result;
    }
    for (const auto& equality : equalities) {
      for (const auto& [here, there] : {equality, reversed(equality)}) {
        if (here.table == at && reached_from.try_emplace(there.table, at).second) {
          next.push_back(there.table);
        }
      }
    }
  }
  return {};
}

bool JoinGraph::is_connected() const {
  return std::all_of(tables.begin(), tables.end(), [&](const SourceTable& table) {
    return !way(tables.front().alias, {table.alias}).empty();
  });
}

JoinGraph JoinGraph::part(const std::set<std::string>& aliases) const {
  JoinGraph result{kind, {}, {}};
  for (const auto& table : tables) {
    if (aliases.contains(table.alias)) {
      result.tables.push_back(table);
    }
  }
  result.equalities = between(aliases, aliases);
  return result;
}

std::optional<JoinGraph> parse_join_graph(std::string_view from_clause,
                                          std::string_view join_clause, DatabaseKind kind) {
  const auto from = parse_sql_text(from_clause);
  const auto join = parse_sql_text(join_clause);
  if (!from || !join) {
    return std::nullopt;
  }
  JoinGraph graph{kind, {}, {}};
  std::vector<PathEquality> conditions;
  const bool recognized =
      (from->empty() || ClauseParser(*from, kind).tables(graph.tables, conditions)) &&
      (join->empty() || ClauseParser(*join, kind).conditions(conditions));
  if (!recognized || has_two_of_one_alias(graph) || !add_equalities(graph, conditions)) {
    return std::nullopt;
  }
  return graph;
}

}  // namespace importkcd
