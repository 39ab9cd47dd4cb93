#include "grundel/threads/TmtTSSCollection.h"

#include <new>
#include <pthread.h>

namespace {
constexpr TuInt64 bitOf(TuInt32 key) noexcept { return TuInt64(1) << (key % 64); }
} // namespace

TmtTSSCollection::~TmtTSSCollection() {
    for (TuInt32 word = 0; word < kMaxKeys / 64; ++word) {
        const TuInt64 bits = fHeld[word].exchange(0);
        for (TuInt32 bit = 0; bit < 64; ++bit)
            if (bits & (TuInt64(1) << bit))
                pthread_key_delete(static_cast<pthread_key_t>(word * 64 + bit));
    }
}

TuInt32 TmtTSSCollection::acquireKey() noexcept {
    pthread_key_t key;
    if (pthread_key_create(&key, nullptr) != 0)
        return kInvalidKey;
    if (key >= kMaxKeys) {
        pthread_key_delete(key);
        return kInvalidKey;
    }
    fHeld[key / 64].fetch_or(bitOf(key));
    return static_cast<TuInt32>(key);
}

bool TmtTSSCollection::holds(TuInt32 key) const noexcept {
    return key < kMaxKeys && (fHeld[key / 64].load(std::memory_order_acquire) & bitOf(key)) != 0;
}

bool TmtTSSCollection::releaseKey(TuInt32 key) noexcept {
    if (key >= kMaxKeys || !(fHeld[key / 64].fetch_and(~bitOf(key)) & bitOf(key)))
        return false;
    pthread_key_delete(static_cast<pthread_key_t>(key));
    return true;
}

void* TmtTSSCollection::getValue(TuInt32 key) const noexcept {
    return holds(key) ? pthread_getspecific(static_cast<pthread_key_t>(key)) : nullptr;
}

bool TmtTSSCollection::setValue(TuInt32 key, void* value) noexcept {
    return holds(key) && pthread_setspecific(static_cast<pthread_key_t>(key), value) == 0;
}

TmtTSSCollection& TmtTSSCollection::getCollection() noexcept {
    // Never destroyed: its keys stay valid for code that runs at exit.
    alignas(TmtTSSCollection) static unsigned char storage[sizeof(TmtTSSCollection)];
    static TmtTSSCollection* collection = new (storage) TmtTSSCollection;
    return *collection;
}
