#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "tests/importer/faults/scripted_run_fixture.h"

namespace importkcd::testing {
namespace {

constexpr std::string_view virtual_document = R"xml(
<database version="1.0.1073" name="Shop" description="">
  <library>
    <data_sources><data_source name="W" connection_string="P"/></data_sources>
    <shared_dimensions>
      <shared_dimension name="Time" description="" type="time" data_source="W" from_clause="d"
                        join_clause="" schema_layout="star"><levels/></shared_dimension>
    </shared_dimensions>
  </library>
  <virtual_dimensions>
    <virtual_dimension name="Colours" description="All" type="regular"><levels/></virtual_dimension>
    <virtual_dimension name="Sizes" description="Few" type="regular"><levels/></virtual_dimension>
  </virtual_dimensions>
  <virtual_cubes>
    <virtual_cube name="Overview">
      <measure_references>
        <measure_reference name="Amount" source_column="Sales.Amount"/>
      </measure_references>
      <dimension_references><dimension_reference name="Time"/></dimension_references>
      <cube_roles><cube_role name="Readers" permissions="R"/></cube_roles>
    </virtual_cube>
    <virtual_cube name="Brief">
      <measure_references/><dimension_references/><cube_roles/>
    </virtual_cube>
  </virtual_cubes>
</database>)xml";

SectionSteps look() {
  return {Section::database,
          {{"", {"hold_database Shop", "stored_objects", "open_database Shop"}}}};
}

SectionSteps storing() { return {Section::storing, {{"", {"finish"}}}}; }

ObjectSteps virtual_dimension(const std::string& name, std::int32_t type, bool again) {
  const auto quoted = " virtual dimension '" + name + "'";
  if (!again) {
    return {name,
            {"Searching" + quoted, "Creating" + quoted, "version", "write_back_dimension " + name}};
  }
  switch (type) {
    case import_type::incremental:
      return {name, {"Searching" + quoted, "Skipping" + quoted}};
    case import_type::update:
      return {name,
              {"Searching" + quoted, "Updating" + quoted, "lock_dimension " + name, "version",
               "write_back_dimension " + name}};
    default:
      return {name, {"Searching" + quoted}};
  }
}

RunScript virtual_dimensions(std::int32_t type, bool again) {
  return {{look(),
           {Section::virtual_dimensions,
            {{"", {"Creating virtual dimensions"}},
             virtual_dimension("Colours", type, again),
             virtual_dimension("Sizes", type, again)}},
           storing()},
          {}};
}

RunScript virtual_cubes(std::int32_t type, bool again) {
  ObjectSteps overview{"Overview", {"Searching virtual cube 'Overview'"}};
  ObjectSteps brief{"Brief", {"Searching virtual cube 'Brief'"}};
  const auto add = [](ObjectSteps& object, const std::vector<std::string>& steps) {
    object.steps.insert(object.steps.end(), steps.begin(), steps.end());
  };
  if (!again) {
    add(overview, {"Creating virtual cube 'Overview'", "Creating measure references",
                   "Creating dimension references", "Creating cube role 'Readers'",
                   "write_back_database Shop"});
    add(brief, {"Creating virtual cube 'Brief'", "Creating measure references",
                "Creating dimension references", "write_back_database Shop"});
  } else if (type == import_type::incremental) {
    add(overview, {"Skipping virtual cube 'Overview'"});
    add(brief, {"Skipping virtual cube 'Brief'"});
  } else if (type == import_type::update) {
    add(overview, {"Update virtual cube 'Overview'", "lock_cube Overview",
                   "remove_first measures Overview", "remove_first dimensions Overview",
                   "Creating measure references", "Creating dimension references",
                   "Updateing cube role 'Readers'", "write_back_database Shop"});
    add(brief, {"Update virtual cube 'Brief'", "lock_cube Brief", "Creating measure references",
                "Creating dimension references", "write_back_database Shop"});
  }
  return {{look(),
           {Section::virtual_cubes, {{"", {"Creating virtual cubes"}}, overview, brief}},
           storing()},
          {}};
}

/// Mode, whether the objects were imported before, what is thrown, and whether everything fails
/// from then on.
using VirtualCase = std::tuple<std::int32_t, bool, Thrown, bool>;

/// The importers that a run does not call, with their Nth operation of the server failing.
class FailedVirtualImports : public ScriptedRunTest,
                             public ::testing::WithParamInterface<VirtualCase> {
 protected:
  using ImportCollection = void (ImportOLAPDBFromKCDDoc::*)(const KcdElement*);

  void import_virtually(ImportCollection import_collection, std::string_view tag,
                        const Failure& failure) {
    const auto thrown = std::get<Thrown>(GetParam());
    clear_store();
    options.ImportType = import_type::incremental;
    int number = 0;
    bool armed = false;
    server_factory = [&](std::string_view) {
      return std::make_unique<ForwardingServer>(
          booked(connected()), [&, thrown](const std::string& operation) {
            steps.push_back(operation);
            if (armed && failure.befalls_operation(++number)) {
              raise(thrown);
            }
          });
    };
    import(virtual_document);
    const auto* collection = importer->document()->root().child(tag);
    if (std::get<1>(GetParam())) {
      ((*importer).*import_collection)(collection);
    }
    ASSERT_EQ(importer->last_error, "");
    begin();
    armed = true;
    importer->ImportType = std::get<0>(GetParam());
    ((*importer).*import_collection)(collection);
    armed = false;
  }

  void expect_roads(ImportCollection import_collection, std::string_view tag,
                    const RunScript& script) {
    auto failure = failure_with(std::get<Thrown>(GetParam()));
    failure.lasting = std::get<3>(GetParam());
    bool befell = true;
    while (befell) {
      ++failure.operation;
      SCOPED_TRACE("operation " + std::to_string(failure.operation));
      import_virtually(import_collection, tag, failure);
      const auto expected = play(script, failure);
      expect_run(expected);
      befell = expected.disturbed;
    }
  }
};

TEST_P(FailedVirtualImports, OfDimensionsEndAsTheRulesSay) {
  expect_roads(&ImportOLAPDBFromKCDDoc::ImportVirtualDimensions, "virtual_dimensions",
               virtual_dimensions(std::get<0>(GetParam()), std::get<1>(GetParam())));
}

TEST_P(FailedVirtualImports, OfCubesEndAsTheRulesSay) {
  expect_roads(&ImportOLAPDBFromKCDDoc::import_virtual_cubes, "virtual_cubes",
               virtual_cubes(std::get<0>(GetParam()), std::get<1>(GetParam())));
}

std::string name_of_virtual_case(const ::testing::TestParamInfo<VirtualCase>& tested) {
  const auto& [type, again, thrown, lasting] = tested.param;
  return name_of(ScriptCase{type, false, again}) + name_of(thrown) + (lasting ? "FromThenOn" : "");
}

INSTANTIATE_TEST_SUITE_P(
    Modes, FailedVirtualImports,
    ::testing::Combine(::testing::Values(import_type::none, import_type::incremental,
                                         import_type::replace, import_type::update),
                       ::testing::Bool(),
                       ::testing::Values(Thrown::import_error, Thrown::bad_alloc),
                       ::testing::Bool()),
    name_of_virtual_case);

}  // namespace
}  // namespace importkcd::testing
