#include "comparison/import_plan.h"

#include <memory>
#include <optional>
#include <utility>

#include "comparison/import_execution.h"

namespace importkcd {
namespace {

template <class Value>
const Value* pointer_to(const std::optional<Value>& value) {
  return value ? &*value : nullptr;
}

/// Whether a run may leave objects as they are although the document says something else.
bool leaves_objects(const ImportRequest& request) {
  return !request.synchronises && request.options.ImportType != import_type::replace;
}

/// Fills in what a rehearsal has found out.
void compare_states(const ImportRequest& request, const RehearsalFactory& rehearse,
                    RehearsalStore& store, ImportPlan& plan) {
  const auto before = store.before(store.held_name());
  const auto after = store.after(store.held_name());
  plan.database = before ? before->name : store.held_name();
  plan.built_anew =
      before && !request.synchronises && request.options.ImportType == import_type::replace;
  DocumentContent content;
  DocumentReading document;
  if (before && after && leaves_objects(request)) {
    document = read_document(request, rehearse);
    content = {pointer_to(document.database),
               request.options.ImportType == import_type::update ? "update" : "incremental"};
    if (!document.database) {
      plan.remarks.push_back("What stays although the document says something else is not told: " +
                             document.result.error);
    }
  }
  plan.plan = compare_databases(pointer_to(before), pointer_to(after), content);
}

}  // namespace

ImportPlan plan_import(const ImportRequest& request, const RehearsalFactory& rehearse) {
  ImportPlan plan;
  RemarkCollector remarks(plan.remarks);
  std::shared_ptr<RehearsalStore> store;
  auto rehearsed = request;
  rehearsed.options.progres_window = nullptr;
  rehearsed.options.notifications = &remarks;
  const auto open = [&](std::string_view machine) {
    auto rehearsal = rehearse(machine, RehearsalBase::stored);
    store = std::move(rehearsal.store);
    return std::move(rehearsal.server);
  };
  plan.result = carry_out(rehearsed, {open, rehearse});
  const bool would_store =
      plan.result.succeeded || request.options.after_failure == AfterFailure::keep;
  if (store && would_store && !store->held_name().empty()) {
    compare_states(request, rehearse, *store, plan);
  }
  return plan;
}

}  // namespace importkcd
