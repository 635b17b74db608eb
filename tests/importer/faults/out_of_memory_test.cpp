#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "model/named_collection.h"
#include "tests/importer/faults/written_content.h"
#include "tests/support/importer_fixture.h"
#include "tests/support/whole_document.h"

namespace {

/// How many allocations still come through; negative: all do.
long allowed_allocations = -1;

void* allocate(std::size_t size) {
  if (allowed_allocations == 0) {
    allowed_allocations = -1;
    throw std::bad_alloc();
  }
  allowed_allocations -= allowed_allocations > 0 ? 1 : 0;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

// All of this program's objects come from here.
void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace importkcd::testing {
namespace {

/// An import whose Nth allocation fails, for every N. The parameter is its mode.
class OutOfMemory : public ImporterTest, public ::testing::WithParamInterface<std::int32_t> {
 protected:
  OutOfMemory() { options.import_partitions = true; }

  void fill_store() {
    clear_store();
    options.ImportType = import_type::incremental;
    import(older_document());
    importer.reset();
  }

  void import_whole_document(std::int32_t type) {
    options.ImportType = type;
    import(whole_document());
  }

  /// Imports with one allocation failing after so many; returns whether the import came to it.
  bool import_with(long allocations) {
    sink.messages.clear();
    ImportOLAPDBFromKCDDoc run([this](std::string_view) { return look(); });
    static_cast<ImportOptions&>(run) = options;
    run.ImportType = GetParam();
    run.kcd_document_file_name = document_;
    run.succeeded = true;
    allowed_allocations = allocations;
    EXPECT_NO_THROW(run.make());
    const bool failed = allowed_allocations < 0;
    allowed_allocations = -1;
    succeeded = run.succeeded;
    last_error = run.last_error;
    did_all = run.succeeded && run.passed_over.empty();
    return failed;
  }

  bool before_the_processing() const {
    return last_error.rfind("Error in ", 0) == 0 || last_error.rfind("Cannot open ", 0) == 0;
  }

  void expect_known_road() const {
    EXPECT_EQ(succeeded, last_error.empty());
    if (before_the_processing()) {
      EXPECT_THAT(last_error, ::testing::EndsWith(" std::bad_alloc"));
    } else {
      EXPECT_THAT(
          last_error,
          ::testing::AnyOf("", "std::bad_alloc",
                           "Cannot create DSS database because of std::bad_alloc in ImportKCD"));
      EXPECT_THAT(temporary_files(), ::testing::IsEmpty());
    }
  }

  /// How the last import_with() ended.
  bool succeeded = false;
  std::string last_error;
  /// Whether it told of nothing that was not done.
  bool did_all = false;

 private:
  std::string document_ = folder.write("whole.kcd", whole_document());
};

TEST_P(OutOfMemory, EndsTheRunAndHarmsNothing) {
  fill_store();
  const auto before = content_of(*look());
  import_with(std::numeric_limits<long>::max());
  const auto imported = content_of(*look());
  import_whole_document(import_type::replace);
  const auto replaced = content_of(*look());
  bool failed = true;
  for (long allocations = 0; failed; ++allocations) {
    SCOPED_TRACE(std::to_string(allocations) + " allocations");
    fill_store();
    failed = import_with(allocations);
    expect_known_road();
    if (did_all) {
      EXPECT_EQ(content_of(*look()), imported);
    }
    if (before_the_processing()) {
      EXPECT_EQ(content_of(*look()), before);
      std::filesystem::remove_all(temporary_folder());
      std::filesystem::create_directory(temporary_folder());
    }
    EXPECT_NO_THROW(look()->hold_database("Shop"));
    import_whole_document(import_type::replace);
    EXPECT_TRUE(importer->succeeded) << importer->last_error;
    EXPECT_EQ(content_of(*look()), replaced);
  }
  EXPECT_TRUE(succeeded);
}

INSTANTIATE_TEST_SUITE_P(Modes, OutOfMemory,
                         ::testing::Values(import_type::incremental, import_type::replace,
                                           import_type::update),
                         [](const auto& tested) {
                           return tested.param == import_type::incremental ? "Incremental"
                                  : tested.param == import_type::replace   ? "Replace"
                                                                           : "Update";
                         });

/// A collection too large to be walked, with names too long to be kept in place.
NamedCollection<OlapProperty> large_collection() {
  NamedCollection<OlapProperty> collection;
  for (int i = 0; i < 40; ++i) {
    collection.add({"a name of more than sixteen characters, number " + std::to_string(i), ""});
  }
  return collection;
}

TEST(OutOfMemoryIndex, ASearchThatFailedLosesNoName) {
  bool failed = true;
  for (long allocations = 0; failed; ++allocations) {
    const auto collection = large_collection();
    const auto first = collection[0].name;
    allowed_allocations = allocations;
    try {
      collection.contains(first);
    } catch (const std::bad_alloc&) {
    }
    failed = allowed_allocations < 0;
    allowed_allocations = -1;
    for (const auto& object : collection) {
      ASSERT_TRUE(collection.contains(object.name)) << object.name << ", " << allocations;
    }
  }
}

TEST(OutOfMemoryIndex, AnAdditionThatFailedLosesNoName) {
  bool failed = true;
  for (long allocations = 0; failed; ++allocations) {
    auto collection = large_collection();
    ASSERT_TRUE(collection.contains(collection[0].name));
    const OlapProperty added{"another name of more than sixteen characters", ""};
    const OlapProperty last{"a last name of more than sixteen characters", ""};
    allowed_allocations = allocations;
    try {
      collection.put(added);
    } catch (const std::bad_alloc&) {
    }
    failed = allowed_allocations < 0;
    allowed_allocations = -1;
    collection.put(last);
    for (const auto& object : collection) {
      ASSERT_TRUE(collection.contains(object.name)) << object.name << ", " << allocations;
    }
  }
}

}  // namespace
}  // namespace importkcd::testing
