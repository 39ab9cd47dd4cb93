// Run-time type tests through class records beside dynamic_cast, over a
// hierarchy four levels deep whose leaf has a second parent.
#include "grundel/object/Tmetaclass.h"

#include <benchmark/benchmark.h>

namespace {

struct Level0 {
    GRUNDEL_ROOT_CLASS(Level0)
    virtual ~Level0() = default;
    int f0 = 0;
};
struct Level1 : Level0 {
    GRUNDEL_CLASS(Level1)
    int f1 = 1;
};
struct Level2 : Level1 {
    GRUNDEL_CLASS(Level2)
    int f2 = 2;
};
struct Side {
    GRUNDEL_ROOT_CLASS(Side)
    virtual ~Side() = default;
    int fs = 3;
};
struct Level3 : Level2, Side {
    GRUNDEL_CLASS(Level3)
    int f3 = 4;
};
struct Other : Level0 {
    GRUNDEL_CLASS(Other)
};

} // namespace

GRUNDEL_DEFINE_CLASS(Level0, "")
GRUNDEL_DEFINE_CLASS(Level1, "", Level0)
GRUNDEL_DEFINE_CLASS(Level2, "", Level1)
GRUNDEL_DEFINE_CLASS(Side, "")
GRUNDEL_DEFINE_CLASS(Level3, "", Level2, Side)
GRUNDEL_DEFINE_CLASS(Other, "", Level0)

namespace {

struct Records {};  // the library's records: typeof()->isa() and cast()
struct DynamicCast {};

// Objects behind base pointers, so that nothing is known at compile time.
Level0* leaf() {
    static Level3 object;
    return &object;
}

template <class Impl>
void BM_IsA(benchmark::State& state) {
    Level0* object = leaf();
    for (auto _ : state) {
        benchmark::DoNotOptimize(object);
        bool yes;
        if constexpr (std::is_same<Impl, Records>::value)
            yes = object->typeof()->isa(Level1::sMetaclass());
        else
            yes = dynamic_cast<Level1*>(object) != nullptr;
        benchmark::DoNotOptimize(yes);
    }
}
BENCHMARK_TEMPLATE(BM_IsA, Records);
BENCHMARK_TEMPLATE(BM_IsA, DynamicCast);

template <class Impl>
void BM_IsNotA(benchmark::State& state) {
    Level0* object = leaf();
    for (auto _ : state) {
        benchmark::DoNotOptimize(object);
        bool yes;
        if constexpr (std::is_same<Impl, Records>::value)
            yes = object->typeof()->isa(Other::sMetaclass());
        else
            yes = dynamic_cast<Other*>(object) != nullptr;
        benchmark::DoNotOptimize(yes);
    }
}
BENCHMARK_TEMPLATE(BM_IsNotA, Records);
BENCHMARK_TEMPLATE(BM_IsNotA, DynamicCast);

template <class Impl>
void BM_CastDown(benchmark::State& state) {
    Level0* object = leaf();
    for (auto _ : state) {
        benchmark::DoNotOptimize(object);
        Level2* p;
        if constexpr (std::is_same<Impl, Records>::value)
            p = static_cast<Level2*>(object->cast(Level2::sMetaclass()));
        else
            p = dynamic_cast<Level2*>(object);
        benchmark::DoNotOptimize(p);
    }
}
BENCHMARK_TEMPLATE(BM_CastDown, Records);
BENCHMARK_TEMPLATE(BM_CastDown, DynamicCast);

template <class Impl>
void BM_CastToSecondParent(benchmark::State& state) {
    Level0* object = leaf();
    for (auto _ : state) {
        benchmark::DoNotOptimize(object);
        Side* p;
        if constexpr (std::is_same<Impl, Records>::value)
            p = static_cast<Side*>(object->cast(Side::sMetaclass()));
        else
            p = dynamic_cast<Side*>(object);
        benchmark::DoNotOptimize(p);
    }
}
BENCHMARK_TEMPLATE(BM_CastToSecondParent, Records);
BENCHMARK_TEMPLATE(BM_CastToSecondParent, DynamicCast);

} // namespace
