// Delivering one message to n clients: TclientServer::notifyClients beside a
// loop over std::vector<std::function> (and boost::signals2 where its headers
// are installed). Each client counts the messages it receives, either in a
// virtual method (the default callback) or in a plain function.
#include "grundel/object/TclientServer.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <type_traits>
#include <vector>

#if __has_include(<boost/signals2.hpp>)
#include <boost/signals2.hpp>
#define GRUNDEL_BENCH_SIGNALS2 1
#endif

namespace {

class Counter : public Tclient {
public:
    void serverModified(TclientServer*, const TserverMsg&) override { ++fCount; }
    long fCount = 0;
};

void count(Tclient* client, TclientServer*, const TserverMsg&) { ++static_cast<Counter*>(client)->fCount; }

struct Grundel {};
struct StdFunction {};
struct Signals2 {};

// Virtual: the client's method; Direct: a plain function on the client.
template <class Impl, bool Virtual>
void notify(benchmark::State& state) {
    std::vector<Counter> clients(static_cast<std::size_t>(state.range(0)));
    TclientServer server;
    const TserverModifiedMsg msg;
    if constexpr (std::is_same<Impl, Grundel>::value) {
        for (Counter& c : clients)
            server.addClient(&c, TserverModifiedMsg::sMetaclass(), Virtual ? nullptr : &count);
        for (auto _ : state)
            server.notifyClients(msg);
    } else if constexpr (std::is_same<Impl, StdFunction>::value) {
        std::vector<std::function<void(TclientServer*, const TserverMsg&)>> slots;
        for (Counter& c : clients) {
            Tclient* client = &c;
            if (Virtual)
                slots.emplace_back([client](TclientServer* s, const TserverMsg& m) { client->serverModified(s, m); });
            else
                slots.emplace_back([client](TclientServer* s, const TserverMsg& m) { count(client, s, m); });
        }
        for (auto _ : state)
            for (auto& slot : slots)
                slot(&server, msg);
#ifdef GRUNDEL_BENCH_SIGNALS2
    } else {
        boost::signals2::signal<void(TclientServer*, const TserverMsg&)> signal;
        for (Counter& c : clients) {
            Tclient* client = &c;
            if (Virtual)
                signal.connect([client](TclientServer* s, const TserverMsg& m) { client->serverModified(s, m); });
            else
                signal.connect([client](TclientServer* s, const TserverMsg& m) { count(client, s, m); });
        }
        for (auto _ : state)
            signal(&server, msg);
#endif
    }
    benchmark::DoNotOptimize(clients.data());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Impl>
void BM_NotifyVirtual(benchmark::State& state) {
    notify<Impl, true>(state);
}
template <class Impl>
void BM_NotifyDirect(benchmark::State& state) {
    notify<Impl, false>(state);
}

BENCHMARK_TEMPLATE(BM_NotifyVirtual, Grundel)->Arg(10)->Arg(1000);
BENCHMARK_TEMPLATE(BM_NotifyVirtual, StdFunction)->Arg(10)->Arg(1000);
BENCHMARK_TEMPLATE(BM_NotifyDirect, Grundel)->Arg(10)->Arg(1000);
BENCHMARK_TEMPLATE(BM_NotifyDirect, StdFunction)->Arg(10)->Arg(1000);
#ifdef GRUNDEL_BENCH_SIGNALS2
BENCHMARK_TEMPLATE(BM_NotifyVirtual, Signals2)->Arg(10)->Arg(1000);
BENCHMARK_TEMPLATE(BM_NotifyDirect, Signals2)->Arg(10)->Arg(1000);
#endif

} // namespace
