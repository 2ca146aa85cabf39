// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "sonrel/base/ZRList.h"

namespace orlo::project {

/// What an observed list does on a change beside changing.
namespace ResponseDelegate {
struct None {};
/// Counts the changes.
struct RecordChanges {};
}  // namespace ResponseDelegate

/// A list of a project's parts. Its owner may look at each item before it enters, and hears of
/// each that leaves.
///
/// Not safe for concurrent change: edit while nothing mixes.
template <class T, class D>
class ListChangeObserver {
public:
    using Items = zrtl::ZRList<T, zrtl::ZRListItemDelegate::Null>;

    ListChangeObserver() = default;
    /// A copy has the items and their history; its own owner is still to be set.
    ListChangeObserver(const ListChangeObserver& source)
        : items_(source.items_), changeCount_(source.changeCount_) {}
    /// Not assignable: items enter one by one, past the owner.
    ListChangeObserver& operator=(const ListChangeObserver&) = delete;

    std::size_t size() const { return items_.size(); }
    bool empty() const { return items_.empty(); }
    typename Items::const_iterator begin() const { return items_.begin(); }
    typename Items::const_iterator end() const { return items_.end(); }
    const T& operator[](std::size_t index) const { return items_[index]; }

    /// Walks from the first item to the last. The visitor may take items out.
    void ForEach(const std::function<void(T)>& visit) const {
        for (std::size_t i = 0; i < items_.size(); ++i) visit(items_[i]);
    }

    /// Walks from the last item to the first. The visitor may take items out.
    void ForEachReverse(const std::function<void(T)>& visit) const {
        for (std::size_t i = items_.size(); i > 0; --i) {
            if (i <= items_.size()) visit(items_[i - 1]);
        }
    }

    /// Appends an item. @throws std::invalid_argument when the owner refuses it
    void Add(T item) { Insert(items_.size(), std::move(item)); }

    /// Puts an item in front of the one at @p index.
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

    /// Takes out the first item that equals @p item. @return whether there was one
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

    /// Moves the item at @p from so that it stands at @p to.
    /// @throws std::out_of_range when one of them is not below size()
    void Move(std::size_t from, std::size_t to) {
        if (from >= items_.size() || to >= items_.size()) {
            throw std::out_of_range("no such place in the list");
        }
        T item = items_[from];
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(from));
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(to), std::move(item));
        ++changeCount_;
    }

    void Clear() {
        const Items removed = std::exchange(items_, Items());
        ++changeCount_;
        if (!release_) return;
        for (const T& item : removed) release_(item);
    }

    /// Edits so far.
    unsigned long long ChangeCount() const { return changeCount_; }

    /// Sets what the owner asks of an item before it enters: the function throws to refuse it.
    void SetAdmission(std::function<void(const T&)> admit) { admit_ = std::move(admit); }

    /// Sets what the owner does with an item that has left; the function does not throw.
    void SetRelease(std::function<void(const T&)> release) { release_ = std::move(release); }

private:
    Items items_;
    unsigned long long changeCount_ = 0;
    std::function<void(const T&)> admit_;
    std::function<void(const T&)> release_;
};

}  // namespace orlo::project
