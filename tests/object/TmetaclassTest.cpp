#include "grundel/object/Tmetaclass.h"

#include "grundel/core/Tarrays.h"
#include "grundel/object/TobjectArrays.h"
#include "grundel/core/TdebugOutput.h"
#include "grundel/object/TtypeDictionary.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

// A small hierarchy: Animal <- Mammal <- Dog, and Dog also a Pet (second
// parent). Dog's record is defined before its parents' records, as static
// initialisation across files may order them.
class Animal {
    GRUNDEL_ROOT_CLASS(Animal)
    virtual ~Animal() = default;
    virtual int legs() const = 0;
    int fWeight = 0;
};

class Mammal : public Animal {
    GRUNDEL_CLASS(Mammal)
    int legs() const override { return 4; }
    double fFur = 0;
};

class Pet {
    GRUNDEL_ROOT_CLASS(Pet)
    virtual ~Pet() = default;
    Tint64 fOwner = 0;
};

class Dog : public Mammal, public Pet {
    GRUNDEL_CLASS(Dog)
    int fTricks = 0;
};

class Rock {
    GRUNDEL_ROOT_CLASS(Rock)
    virtual ~Rock() = default;
};

GRUNDEL_DEFINE_CLASS(Dog, "DOG ", Mammal, Pet)
GRUNDEL_DEFINE_CLASS(Animal, "ANML")
GRUNDEL_DEFINE_CLASS(Mammal, "MAML", Animal)
GRUNDEL_DEFINE_CLASS(Pet, "")
GRUNDEL_DEFINE_CLASS(Rock, "ROCK")

TEST(Tmetaclass, IdsAreDenseInRegistrationOrder) {
    EXPECT_EQ(Animal::sMetaclass()->typeId(), Dog::sMetaclass()->typeId() + 1);
    EXPECT_EQ(Mammal::sMetaclass()->typeId(), Dog::sMetaclass()->typeId() + 2);
    EXPECT_EQ(Rock::sMetaclass()->typeId(), Dog::sMetaclass()->typeId() + 4);
    const TtypeidArray* list = Tmetaclass::classList();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ((*list)[Dog::sMetaclass()->typeId()], Dog::sMetaclass());
}

TEST(Tmetaclass, ParentsCountUpToTheFirstEmptySlot) {
    Tmetaclass* animal = Animal::fsMetaclassPtr;
    Tmetaclass* pet = Pet::fsMetaclassPtr;
    Tmetaclass* self = nullptr;
    Tmetaclass gapped(&self, "Gapped", 8, Tmetaclass::Tcreator(nullptr), TiffTag(), false,
                      &animal, nullptr, &pet);
    EXPECT_EQ(self, &gapped);
    EXPECT_EQ(gapped.superCount(), 1);
    EXPECT_EQ(gapped.super(0), Animal::sMetaclass());
    EXPECT_EQ(gapped.super(1), nullptr);
    EXPECT_TRUE(gapped.istype(Animal::sMetaclass()));
    EXPECT_EQ(Dog::sMetaclass()->superCount(), 2);
    EXPECT_EQ(Dog::sMetaclass()->super(1), Pet::sMetaclass());
    EXPECT_EQ(Rock::sMetaclass()->superCount(), 0);
}

TEST(Tmetaclass, AncestorTestAcrossParentsAndLevels) {
    const Tmetaclass* dog = Dog::sMetaclass();
    EXPECT_TRUE(dog->istype(Mammal::sMetaclass()));
    EXPECT_TRUE(dog->istype(Animal::sMetaclass())); // two levels up
    EXPECT_TRUE(dog->istype(Pet::sMetaclass()));    // second parent
    EXPECT_FALSE(dog->istype(dog));                 // not its own ancestor
    EXPECT_TRUE(dog->isa(dog));
    EXPECT_FALSE(dog->istype(Rock::sMetaclass()));
    EXPECT_FALSE(Animal::sMetaclass()->istype(Dog::sMetaclass()));
    EXPECT_FALSE(Rock::sMetaclass()->istype(Animal::sMetaclass())); // no parents at all
    EXPECT_FALSE(dog->istype(nullptr));
    EXPECT_TRUE(Mammal::sMetaclass()->isnota(Pet::sMetaclass()));
    EXPECT_TRUE(dog->isexactlya(dog));
    EXPECT_TRUE(dog->isnotexactlya(Mammal::sMetaclass()));
}

TEST(Tmetaclass, NameTestsFollowEveryParent) {
    const Tmetaclass* dog = Dog::sMetaclass();
    EXPECT_TRUE(dog->isa("Dog"));
    EXPECT_TRUE(dog->isa("Animal"));
    EXPECT_TRUE(dog->isa("Pet")); // through the second parent
    EXPECT_FALSE(dog->isa("Rock"));
    EXPECT_FALSE(dog->isa(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(dog->isexactlya("Dog"));
    EXPECT_FALSE(dog->isexactlya("Animal"));
    EXPECT_TRUE(dog->isnota("Rock"));
}

TEST(Tmetaclass, FindingClasses) {
    EXPECT_EQ(Tmetaclass::findClass("Mammal"), Mammal::sMetaclass());
    EXPECT_EQ(Tmetaclass::findClass("NoSuchClass"), nullptr);
    EXPECT_EQ(Tmetaclass::findClass(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(Tmetaclass::findClass(TiffTag("ROCK")), Rock::sMetaclass());
    EXPECT_EQ(Tmetaclass::findClass(TiffTag("DOG ")), Dog::sMetaclass());
    EXPECT_EQ(Tmetaclass::findClass("Dog", Animal::sMetaclass()), Dog::sMetaclass());
    EXPECT_EQ(Tmetaclass::findClass("Rock", Animal::sMetaclass()), nullptr);

    TtypeidArray derived;
    Tmetaclass::getDerivedClasses(Animal::sMetaclass(), derived);
    ASSERT_EQ(derived.length(), 3u);
    EXPECT_EQ(derived[0], Animal::sMetaclass());

    TtypeDictionary dictionary;
    Tmetaclass::generateDictionaryFor(Animal::sMetaclass(), dictionary);
    EXPECT_EQ(dictionary.size(), 3u);
    TtypeDictionaryNode* node = dictionary.findNode("Mammal");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->metaclass(), Mammal::sMetaclass());
    Tbookmark at;
    std::vector<std::string> names;
    for (TtypeDictionaryNode* n = dictionary.first(at); n; n = dictionary.next(at))
        names.push_back(n->name());
    EXPECT_EQ(names, (std::vector<std::string>{"Animal", "Dog", "Mammal"}));
    Tbookmark searching;
    EXPECT_STREQ(dictionary.search("*a*", searching)->name(), "Animal");
    EXPECT_STREQ(dictionary.search("*a*", searching)->name(), "Mammal");
    EXPECT_EQ(dictionary.search("*a*", searching), nullptr);
    EXPECT_FALSE(dictionary.insert("Dog", Dog::sMetaclass()));
    EXPECT_TRUE(dictionary.remove("Dog"));
    EXPECT_EQ(dictionary.findNode("Dog"), nullptr);
}

TEST(Tmetaclass, ConstructionAndAbstractClasses) {
    EXPECT_TRUE(Animal::sMetaclass()->isAbstract());
    EXPECT_EQ(Animal::sMetaclass()->construct(), nullptr);
    EXPECT_FALSE(Dog::sMetaclass()->isAbstract());
    auto* dog = static_cast<Dog*>(Tmetaclass::construct(Dog::sMetaclass()));
    ASSERT_NE(dog, nullptr);
    EXPECT_EQ(dog->typeof(), Dog::sMetaclass());
    EXPECT_EQ(dog->legs(), 4);
    delete dog;

    struct Maker : TconstructorClass {
        int made = 0;
        void* construct(Tmetaclass*) override {
            ++made;
            return new Rock;
        }
    } maker;
    Tmetaclass* rock = Rock::sMetaclass();
    rock->setCreator(&maker);
    delete static_cast<Rock*>(rock->construct());
    EXPECT_EQ(maker.made, 1);
    rock->setCreator(nullptr);
    EXPECT_TRUE(rock->isAbstract());
}

TEST(Tmetaclass, SizesOfClassAndParents) {
    EXPECT_EQ(Dog::sMetaclass()->size(), sizeof(Dog));
    EXPECT_EQ(Dog::sMetaclass()->extraSize(), int(sizeof(Dog)) - int(sizeof(Mammal)) - int(sizeof(Pet)));
    EXPECT_EQ(Rock::sMetaclass()->extraSize(), int(sizeof(Rock)));
}

TEST(Tmetaclass, CastGivesTheSubobjectOfTheAncestor) {
    Dog dog;
    Animal* animal = &dog;
    EXPECT_EQ(animal->cast(Dog::sMetaclass()), static_cast<void*>(&dog));
    EXPECT_EQ(animal->cast(Mammal::sMetaclass()), static_cast<void*>(static_cast<Mammal*>(&dog)));
    // The second parent lives at another address inside the object.
    EXPECT_EQ(animal->cast(Pet::sMetaclass()), static_cast<void*>(static_cast<Pet*>(&dog)));
    EXPECT_NE(animal->cast(Pet::sMetaclass()), static_cast<void*>(&dog));
    EXPECT_EQ(animal->cast(Rock::sMetaclass()), nullptr);
    Pet* pet = &dog;
    EXPECT_EQ(pet->typeof(), Dog::sMetaclass());
    EXPECT_EQ(pet->cast(Animal::sMetaclass()), static_cast<void*>(static_cast<Animal*>(&dog)));
}

TEST(Tmetaclass, DumpPrintsTheTree) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    TdebugOutput out(file);
    Tmetaclass::dumpAllClassesDerivedFrom(out, Animal::sMetaclass(), 0);
    std::rewind(file);
    std::string text;
    char line[256];
    while (std::fgets(line, sizeof line, file))
        text += line;
    std::fclose(file);
    const std::string expected = "Animal:  +" + std::to_string(sizeof(Animal)) + " = " +
                                 std::to_string(sizeof(Animal)) + "    (abstract)\n" +
                                 ". Mammal:  +" + std::to_string(sizeof(Mammal) - sizeof(Animal)) +
                                 " = " + std::to_string(sizeof(Mammal)) + "\n" + ". . Dog:  +" +
                                 std::to_string(Dog::sMetaclass()->extraSize()) + " = " +
                                 std::to_string(sizeof(Dog)) + "\n";
    EXPECT_EQ(text, expected);
}

TEST(Tmetaclass, FirstAncestorTestsRaceSafely) {
    // A fresh record: its table is built by whichever thread comes first.
    Tmetaclass* mammal = Mammal::fsMetaclassPtr;
    Tmetaclass* pet = Pet::fsMetaclassPtr;
    Tmetaclass* self = nullptr;
    Tmetaclass late(&self, "Late", 8, Tmetaclass::Tcreator(nullptr), TiffTag(), false, &mammal, &pet);
    std::vector<std::thread> threads;
    std::vector<int> hits(4, 0);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&late, &hits, t] {
            for (int i = 0; i < 1000; ++i)
                hits[t] += late.istype(Animal::sMetaclass()) && !late.istype(Rock::sMetaclass());
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(hits, std::vector<int>(4, 1000));
}
