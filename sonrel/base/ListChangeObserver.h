// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "sonrel/base/ZRList.h"

namespace orlo::project {

/// The action of an observed list on a change.
namespace ResponseDelegate {
struct None {};
/// Counts the changes.
struct RecordChanges {};
}  // namespace ResponseDelegate

/// A list of parts of a project. The owner of the list may check each item before it is added, and
/// is notified of each item that was removed.
///
/// Not safe for concurrent changes: edit while nothing mixes.
template <class T, class D>
class ListChangeObserver {
public:
    using Items = zrtl::ZRList<T, zrtl::ZRListItemDelegate::Null>;  ///< the plain list

    ListChangeObserver() = default;
    /// Copies the items and the number of changes. The copy has no owner yet.
    ListChangeObserver(const ListChangeObserver& source)
        : items_(source.items_), changeCount_(source.changeCount_) {}
    /// Not assignable: items are added one by one, and the owner checks each.
    ListChangeObserver& operator=(const ListChangeObserver&) = delete;

    std::size_t size() const { return items_.size(); }  ///< the number of items
    bool empty() const { return items_.empty(); }       ///< whether there is no item
    typename Items::const_iterator begin() const { return items_.begin(); }  ///< the first item
    typename Items::const_iterator end() const { return items_.end(); }     ///< after the last item
    const T& operator[](std::size_t index) const { return items_[index]; }  ///< below size()

    /// Visits the items from the first to the last. The visitor may remove items.
    void ForEach(const std::function<void(T)>& visit) const {
        for (std::size_t i = 0; i < items_.size(); ++i) visit(items_[i]);
    }

    /// Visits the items from the last to the first. The visitor may remove items.
    void ForEachReverse(const std::function<void(T)>& visit) const {
        for (std::size_t i = items_.size(); i > 0; --i) {
            if (i <= items_.size()) visit(items_[i - 1]);
        }
    }

    /// Appends an item. @throws std::invalid_argument when the owner refuses it
    void Add(T item) { Insert(items_.size(), std::move(item)); }

    /// Inserts an item before the item at @p index.
    /// @throws std::invalid_argument when the owner refuses it
    /// @throws std::out_of_range when @p index is above size()
    void Insert(std::size_t index, T item) {
        if (index > items_.size()) throw std::out_of_range("no such place in the list");
        if (admit_) admit_(item);
        try {
            items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(index), item);
        } catch (...) {
            if (release_) release_(item);
            throw;
        }
        ++changeCount_;
    }

    /// Removes the first item that equals @p item. @return whether there was such an item
    bool Remove(const T& item) {
        for (auto at = items_.begin(); at != items_.end(); ++at) {
            if (!(*at == item)) continue;
            const T removed = *at;
            items_.erase(at);
            ++changeCount_;
            if (release_) release_(removed);
            return true;
        }
        return false;
    }

    /// Moves the item at @p from to the index @p to.
    /// @throws std::out_of_range when either index is not below size()
    void Move(std::size_t from, std::size_t to) {
        if (from >= items_.size() || to >= items_.size()) {
            throw std::out_of_range("no such place in the list");
        }
        T item = items_[from];
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(from));
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(to), std::move(item));
        ++changeCount_;
    }
    /// Removes all items as one change; then the owner is notified of each.
    void Clear() {
        const Items removed = std::exchange(items_, Items());
        ++changeCount_;
        if (!release_) return;
        for (const T& item : removed) release_(item);
    }

    /// The number of changes so far.
    unsigned long long ChangeCount() const { return changeCount_; }

    /// Sets the check of an item before it is added: the function throws to refuse the item.
    void SetAdmission(std::function<void(const T&)> admit) { admit_ = std::move(admit); }

    /// Sets the notification of an item that was removed. The function does not throw.
    void SetRelease(std::function<void(const T&)> release) { release_ = std::move(release); }

private:
    Items items_;
    unsigned long long changeCount_ = 0;
    std::function<void(const T&)> admit_;
    std::function<void(const T&)> release_;
};

}  // namespace orlo::project
