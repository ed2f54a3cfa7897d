#include <RW/RWCollectable.h>

#include <cstdint>
#include <functional>

RWCollectable* RWCollectable::newSpecies() const { return nullptr; }

RWCollectable* RWCollectable::copy() const { return newSpecies(); }

RWClassID RWCollectable::isA() const { return RW_COLLECTABLE_ID; }

const RWCollectable* RWCollectable::self() const { return this; }

RWCollectable* RWCollectable::self() { return this; }

RWCollectable::~RWCollectable() = default;

RWspace RWCollectable::binaryStoreSize() const { return 0; }

int RWCollectable::compareTo(const RWCollectable* other) const {
    if (other == this) return 0;
    return std::less<const RWCollectable*>{}(this, other) ? -1 : 1;
}

unsigned RWCollectable::hash() const {
    const auto h = std::hash<const void*>{}(this);
    return static_cast<unsigned>(h ^ (static_cast<std::uint64_t>(h) >> 32));
}

bool RWCollectable::isEqual(const RWCollectable* other) const { return compareTo(other) == 0; }

void RWCollectable::restoreGuts(RWvistream& /*stream*/) {}

void RWCollectable::restoreGuts(RWFile& /*file*/) {}

void RWCollectable::saveGuts(RWvostream& /*stream*/) const {}

void RWCollectable::saveGuts(RWFile& /*file*/) const {}
