#include <RW/RWSortedVector.h>

#include <algorithm>
#include <unordered_set>

namespace {

// item < target
bool Less(const RWCollectable* item, const RWCollectable* target) { return item->compareTo(target) < 0; }
// target < item
bool Greater(const RWCollectable* target, const RWCollectable* item) { return item->compareTo(target) > 0; }

}  // namespace

RWCollectable* RWSortedVector::insert(RWCollectable* item) {
    if (item == nullptr) return nullptr;
    const auto at = std::upper_bound(items_.begin(), items_.end(), item, Greater);
    items_.insert(at, item);
    return item;
}

size_t RWSortedVector::index(const RWCollectable* target) const {
    if (target == nullptr) return RW_NPOS;
    const auto at = std::lower_bound(items_.begin(), items_.end(), target, Less);
    if (at == items_.end() || (*at)->compareTo(target) != 0) return RW_NPOS;
    return static_cast<size_t>(at - items_.begin());
}

RWCollectable* RWSortedVector::find(const RWCollectable* target) const {
    const size_t i = index(target);
    return i == RW_NPOS ? nullptr : items_[i];
}

size_t RWSortedVector::occurrencesOf(const RWCollectable* target) const {
    if (target == nullptr) return 0;
    const auto range_begin = std::lower_bound(items_.begin(), items_.end(), target, Less);
    const auto range_end = std::upper_bound(range_begin, items_.end(), target, Greater);
    return static_cast<size_t>(range_end - range_begin);
}

RWCollectable* RWSortedVector::remove(const RWCollectable* target) {
    const size_t i = index(target);
    return i == RW_NPOS ? nullptr : removeAt(i);
}

RWCollectable* RWSortedVector::removeAt(size_t i) {
    RWCheckBounds(i, items_.size());
    RWCollectable* item = items_[i];
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
    return item;
}

void RWSortedVector::clearAndDestroy() {
    std::unordered_set<RWCollectable*> deleted;
    std::vector<RWCollectable*> items;
    items.swap(items_);
    for (RWCollectable* item : items) {
        if (deleted.insert(item).second) delete item;
    }
}
