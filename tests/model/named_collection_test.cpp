#include "model/named_collection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Item {
  std::string name;
  int value = 0;
};

using Items = NamedCollection<Item>;

Items collection_of(const std::vector<std::string>& names) {
  Items items;
  for (const auto& name : names) {
    items.add(Item{name, 0});
  }
  return items;
}

std::vector<std::string> names_of(const Items& items) {
  std::vector<std::string> names;
  for (const auto& item : items) {
    names.push_back(item.name);
  }
  return names;
}

/// Large enough that names are found by an index.
Items large_collection(int size = 40) {
  Items items;
  for (int i = 0; i < size; ++i) {
    items.add(Item{"Item" + std::to_string(i), i});
  }
  return items;
}

template <class Step>
std::string error_of(Step step) {
  try {
    step();
  } catch (const ImportError& error) {
    EXPECT_EQ(error.source(), error_source::olap_server);
    return error.description();
  }
  return "no error";
}

TEST(NamedCollection, IsEmptyAtFirst) {
  const Items items;
  EXPECT_TRUE(items.empty());
  EXPECT_EQ(items.size(), 0U);
  EXPECT_EQ(items.find("a"), nullptr);
  EXPECT_THAT(names_of(items), IsEmpty());
}

TEST(NamedCollection, KeepsTheOrderOfAdding) {
  const auto items = collection_of({"b", "C", "a"});
  EXPECT_THAT(names_of(items), ElementsAre("b", "C", "a"));
  EXPECT_EQ(items.size(), 3U);
  EXPECT_EQ(items[1].name, "C");
}

TEST(NamedCollection, FindsNamesWhateverTheirLetterCase) {
  const auto items = collection_of({"Store", "Größe"});
  ASSERT_NE(items.find("STORE"), nullptr);
  EXPECT_EQ(items.find("STORE")->name, "Store");
  EXPECT_TRUE(items.contains("GRÖßE"));
  EXPECT_FALSE(items.contains("Stor"));
}

TEST(NamedCollection, FindsNamesInALargeCollection) {
  auto items = large_collection();
  items.add(Item{"Größe", 7});
  ASSERT_NE(items.find("iTEM39"), nullptr);
  EXPECT_EQ(items.find("iTEM39")->value, 39);
  ASSERT_NE(items.find("GRÖßE"), nullptr);
  EXPECT_EQ(items.find("GRÖßE")->value, 7);
  EXPECT_EQ(items.find("Item40"), nullptr);
}

TEST(NamedCollection, FindsTheLastOfALargeCollectionAfterEveryChange) {
  auto items = large_collection();
  EXPECT_EQ(items.edit("ITEM39"), items.end() - 1);
  items.remove("Item39");
  EXPECT_EQ(items.find("Item39"), nullptr);
  EXPECT_EQ(items.find("Item38"), items.end() - 1);
  items.remove_first();
  EXPECT_EQ(items.find("Item38"), items.end() - 1);
  items.add(Item{"Größe", 7});
  EXPECT_EQ(items.find("GRÖßE"), items.end() - 1);
  EXPECT_EQ(items.find("Item38"), items.end() - 2);
}

TEST(NamedCollection, RefusesANameInUse) {
  auto items = collection_of({"Store"});
  EXPECT_EQ(error_of([&] { items.add(Item{"STORE", 1}); }), "'STORE' already exists");
  auto large = large_collection();
  EXPECT_EQ(error_of([&] { large.add(Item{"item5", 1}); }), "'item5' already exists");
  EXPECT_EQ(items.size(), 1U);
  EXPECT_EQ(large.size(), 40U);
}

TEST(NamedCollection, RefusesAnEmptyName) {
  Items items;
  EXPECT_EQ(error_of([&] { items.add(Item{}); }), "an object must have a name");
  EXPECT_EQ(error_of([&] { items.put(Item{}); }), "an object must have a name");
  EXPECT_TRUE(items.empty());
}

TEST(NamedCollection, AddGivesTheAddedObject) {
  Items items;
  items.add(Item{"a", 1}).value = 2;
  EXPECT_EQ(items.find("a")->value, 2);
}

TEST(NamedCollection, EditChangesTheObjectInPlace) {
  auto items = collection_of({"a", "b"});
  items.edit("B")->value = 5;
  EXPECT_EQ(items[1].value, 5);
  EXPECT_EQ(items.edit("c"), nullptr);
  items.edit_at(0).value = 6;
  EXPECT_EQ(items.find("a")->value, 6);
}

TEST(NamedCollection, PutAddsOrTakesThePlaceOfTheNamesake) {
  auto items = collection_of({"a", "b"});
  items.put(Item{"A", 3});
  items.put(Item{"c", 4});
  EXPECT_THAT(names_of(items), ElementsAre("A", "b", "c"));
  EXPECT_EQ(items[0].value, 3);
}

TEST(NamedCollection, PutCopiesAnObjectThatIsKept) {
  auto items = collection_of({"a", "b"});
  const Item kept{"A", 3};
  items.put(kept);
  EXPECT_EQ(kept.name, "A");
  EXPECT_EQ(items[0].value, 3);
  auto copy = items;
  copy.edit("b")->value = 8;
  copy.put(copy[0]);
  items.put(copy[1]);
  EXPECT_THAT(names_of(items), ElementsAre("A", "b"));
  EXPECT_EQ(items[1].value, 8);
}

TEST(NamedCollection, RemoveFirstTakesOneAfterTheOther) {
  auto items = large_collection(30);
  for (int i = 0; i < 30; ++i) {
    const auto name = "Item" + std::to_string(i);
    ASSERT_TRUE(items.contains(name));
    items.remove_first();
    ASSERT_FALSE(items.contains(name));
    ASSERT_EQ(items.size(), static_cast<std::size_t>(29 - i));
    if (i < 29) {
      ASSERT_EQ(items[0].value, i + 1);
      ASSERT_EQ(items.find("item29")->value, 29);
    }
  }
  EXPECT_TRUE(items.empty());
  items.add(Item{"Item0", 1});
  EXPECT_THAT(names_of(items), ElementsAre("Item0"));
}

TEST(NamedCollection, RemoveTakesTheNamedOne) {
  auto items = large_collection(20);
  items.remove("ITEM3");
  items.remove("nobody");
  EXPECT_EQ(items.size(), 19U);
  EXPECT_FALSE(items.contains("Item3"));
  EXPECT_EQ(items.find("Item4")->value, 4);
  EXPECT_EQ(items.find("Item19")->value, 19);
  items.add(Item{"Item3", 33});
  EXPECT_EQ(items[19].value, 33);
}

TEST(NamedCollection, RemoveAfterRemoveFirstTakesTheNamedOne) {
  auto items = collection_of({"a", "b", "c", "d", "e"});
  items.remove_first();
  items.remove("d");
  EXPECT_THAT(names_of(items), ElementsAre("b", "c", "e"));
}

TEST(NamedCollection, AddNewAddsAnObjectWithItsDefaults) {
  Items items;
  items.add_new("a").value = 1;
  EXPECT_EQ(items.find("A")->value, 1);
  EXPECT_EQ(items.add_new("b").value, 0);
  EXPECT_EQ(error_of([&] { items.add_new("B"); }), "'B' already exists");
  EXPECT_EQ(error_of([&] { items.add_new(""); }), "an object must have a name");
}

TEST(NamedCollection, RemoveAllTakesTheNamedOnes) {
  auto items = large_collection(20);
  items.remove_first();
  EXPECT_TRUE(items.contains("Item3"));
  items.remove_all({"ITEM3", "Item19", "nobody", "Item0"});
  EXPECT_EQ(items.size(), 17U);
  EXPECT_EQ(items[0].name, "Item1");
  EXPECT_FALSE(items.contains("Item3"));
  EXPECT_FALSE(items.contains("Item19"));
  EXPECT_EQ(items.find("Item18")->value, 18);
  items.remove_all({});
  EXPECT_EQ(items.size(), 17U);
}

TEST(NamedCollection, PutAllAddsOrTakesThePlaceOfNamesakes) {
  auto items = collection_of({"a", "b"});
  Items others;
  others.add(Item{"gone", 9});
  others.add(Item{"B", 1});
  others.add(Item{"c", 2});
  others.remove_first();
  items.put_all(std::move(others));
  EXPECT_THAT(names_of(items), ElementsAre("a", "B", "c"));
  EXPECT_EQ(items[1].value, 1);
  EXPECT_TRUE(
      others.empty());  // NOLINT(bugprone-use-after-move): the state is part of the contract
}

TEST(NamedCollection, PutAllIntoAnEmptyCollectionTakesThemOver) {
  Items items;
  items.put_all(large_collection(20));
  EXPECT_EQ(items.size(), 20U);
  EXPECT_EQ(items.find("item19")->value, 19);
}

TEST(NamedCollection, CopyIsIndependent) {
  auto items = large_collection(20);
  items.remove_first();
  auto copy = items;
  copy.add(Item{"new", 1});
  copy.edit("Item5")->value = -5;
  EXPECT_EQ(items.size(), 19U);
  EXPECT_FALSE(items.contains("new"));
  EXPECT_EQ(items.find("Item5")->value, 5);
  EXPECT_EQ(copy.find("Item19")->value, 19);
  items = copy;
  EXPECT_EQ(items.find("Item5")->value, -5);
}

TEST(NamedCollection, MovedFromIsEmptyAndUsable) {
  auto items = large_collection(20);
  EXPECT_TRUE(items.contains("Item7"));
  items.remove_first();
  Items moved = std::move(items);
  EXPECT_EQ(moved.size(), 19U);
  EXPECT_EQ(moved.find("Item7")->value, 7);
  EXPECT_TRUE(items.empty());  // NOLINT(bugprone-use-after-move): the state is part of the contract
  items.add(Item{"a", 1});
  EXPECT_THAT(names_of(items), ElementsAre("a"));
  items = std::move(moved);
  EXPECT_EQ(items.find("Item19")->value, 19);
}

/// What the values of a written collection look like, as text.
std::string content_of(const Items& items) {
  std::string text;
  for (const auto& item : items) {
    text += item.name + "=" + std::to_string(item.value) + " ";
  }
  return text;
}

TEST(NamedCollection, CopySharesTheObjectsUntilOneOfTheTwoIsChanged) {
  auto items = collection_of({"a", "b"});
  auto copy = items;
  EXPECT_EQ(&copy[0], &items[0]);
  items.edit("b")->value = 1;
  EXPECT_NE(&copy[0], &items[0]);
  EXPECT_EQ(content_of(items), "a=0 b=1 ");
  EXPECT_EQ(content_of(copy), "a=0 b=0 ");
  const auto* const own = &items[0];
  items.edit("a")->value = 2;
  EXPECT_EQ(&items[0], own);
}

TEST(NamedCollection, AdditionsToSharedObjectsAreSeenByTheirCollectionAlone) {
  auto items = collection_of({"a"});
  auto copy = items;
  items.add(Item{"b", 1});
  copy.add(Item{"b", 2});
  const auto second = items;
  items.add(Item{"c", 3});
  EXPECT_EQ(content_of(items), "a=0 b=1 c=3 ");
  EXPECT_EQ(content_of(copy), "a=0 b=2 ");
  EXPECT_EQ(content_of(second), "a=0 b=1 ");
}

TEST(NamedCollection, AdditionsMadeByACopyThatIsGoneDoNotComeBack) {
  auto items = large_collection(20);
  {
    auto copy = items;
    copy.add(Item{"copy's", 1});
    EXPECT_TRUE(copy.contains("copy's"));
  }
  EXPECT_FALSE(items.contains("copy's"));
  items.add(Item{"copy's", 2});
  EXPECT_EQ(items.size(), 21U);
  EXPECT_EQ(items.find("copy's")->value, 2);
}

TEST(NamedCollection, ReferenceStaysValidWhileACopyGrows) {
  auto items = collection_of({"a"});
  auto copy = items;
  const auto& object = items[0];
  for (int i = 0; i < 100; ++i) {
    copy.add(Item{"b" + std::to_string(i), i});
  }
  EXPECT_EQ(object.name, "a");
  EXPECT_EQ(&object, &items[0]);
}

TEST(NamedCollection, NameRemovedFromTheFrontCanBeUsedAgainBesideACopy) {
  auto items = large_collection(30);
  EXPECT_TRUE(items.contains("Item0"));
  auto copy = items;
  items.remove_first();
  items.add(Item{"Item0", 100});
  EXPECT_EQ(items.find("Item0")->value, 100);
  EXPECT_EQ(copy.find("Item0")->value, 0);
  copy.remove_first();
  items = Items();
  copy.add(Item{"Item0", 200});
  EXPECT_EQ(copy.find("Item0")->value, 200);
}

/// A plain vector behaves as the collection should.
class Model {
 public:
  bool contains(const std::string& name) const { return position_of(name) != items_.size(); }
  void add(const Item& item) { items_.push_back(item); }
  void remove(const std::string& name) {
    const auto position = position_of(name);
    if (position != items_.size()) {
      items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(position));
    }
  }
  void remove_first() { items_.erase(items_.begin()); }
  void put(const Item& item) {
    const auto position = position_of(item.name);
    if (position == items_.size()) {
      items_.push_back(item);
    } else {
      items_[position] = item;
    }
  }
  bool empty() const { return items_.empty(); }
  std::string content() const {
    std::string text;
    for (const auto& item : items_) {
      text += item.name + "=" + std::to_string(item.value) + " ";
    }
    return text;
  }

 private:
  std::size_t position_of(const std::string& name) const {
    std::size_t i = 0;
    while (i < items_.size() && lower_cased(items_[i].name) != lower_cased(name)) {
      ++i;
    }
    return i;
  }
  std::vector<Item> items_;
};

TEST(NamedCollection, AgreesWithAPlainVectorOverRandomSteps) {
  std::mt19937 random(7);
  Items items;
  Items written;
  std::string written_content;
  Model model;
  for (int step = 0; step < 20000; ++step) {
    auto name = std::string(random() % 2 == 0 ? "N" : "n") + std::to_string(random() % 40);
    const auto action = random() % 8;
    if (action < 3) {
      if (!model.contains(name)) {
        model.add(Item{name, step});
        items.add(Item{name, step});
      }
    } else if (action == 3) {
      model.put(Item{name, step});
      items.put(Item{name, step});
    } else if (action == 4) {
      model.remove(name);
      items.remove(name);
    } else if (action == 5) {
      if (!model.empty()) {
        model.remove_first();
        items.remove_first();
      }
    } else if (action == 6) {
      written = items;
      written_content = model.content();
    }
    ASSERT_EQ(items.contains(name), model.contains(name)) << "step " << step;
    ASSERT_EQ(content_of(items), model.content()) << "step " << step;
    ASSERT_EQ(content_of(written), written_content) << "step " << step;
  }
}

}  // namespace
}  // namespace importkcd
