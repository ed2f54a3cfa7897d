#include <RW/RWOrdered.h>

#include <unordered_set>

namespace {

bool Matches(const RWCollectable* item, const RWCollectable* target) {
    if (item == target) return true;
    if (item == nullptr || target == nullptr) return false;
    return item->isEqual(target);
}

}  // namespace

RWCollectable* RWOrdered::append(RWCollectable* item) {
    items_.push_back(item);
    return item;
}

RWCollectable* RWOrdered::prepend(RWCollectable* item) {
    items_.insert(items_.begin(), item);
    return item;
}

RWCollectable* RWOrdered::insertAt(size_t i, RWCollectable* item) {
    if (i > items_.size()) throw RWBoundsErr(i, items_.size());
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(i), item);
    return item;
}

RWCollectable* RWOrdered::removeAt(size_t i) {
    RWCheckBounds(i, items_.size());
    RWCollectable* item = items_[i];
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
    return item;
}

RWCollectable* RWOrdered::remove(const RWCollectable* target) {
    const size_t i = index(target);
    return i == RW_NPOS ? nullptr : removeAt(i);
}

RWCollectable* RWOrdered::find(const RWCollectable* target) const {
    const size_t i = index(target);
    return i == RW_NPOS ? nullptr : items_[i];
}

size_t RWOrdered::index(const RWCollectable* target) const {
    for (size_t i = 0; i < items_.size(); ++i) {
        if (Matches(items_[i], target)) return i;
    }
    return RW_NPOS;
}

size_t RWOrdered::occurrencesOf(const RWCollectable* target) const {
    size_t n = 0;
    for (const RWCollectable* item : items_) {
        if (Matches(item, target)) ++n;
    }
    return n;
}

void RWOrdered::clearAndDestroy() {
    std::unordered_set<RWCollectable*> deleted;
    std::vector<RWCollectable*> items;
    items.swap(items_);
    for (RWCollectable* item : items) {
        if (item != nullptr && deleted.insert(item).second) delete item;
    }
}

RWCollectable* RWOrderedIterator::operator()() {
    if (next_ >= collection_->entries()) {
        next_ = collection_->entries() + 1;  // past the end: key() is null
        return nullptr;
    }
    return (*collection_)[next_++];
}

RWCollectable* RWOrderedIterator::key() const {
    if (next_ == 0 || next_ > collection_->entries()) return nullptr;
    return (*collection_)[next_ - 1];
}
