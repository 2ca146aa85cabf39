// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace zrtl {

/// The extra behaviour of a ZRList.
namespace ZRListItemDelegate {
/// None: the list is a plain array.
struct Null {};
/// For lists of shared pointers to objects with an identity. Our list has no cache of identities:
/// a search visits the items.
struct SharedPtrIDCache {};
}  // namespace ZRListItemDelegate

/// A contiguous list of @p T. Not safe for concurrent change.
template <class T, class D = ZRListItemDelegate::Null>
class ZRList {
public:
    using value_type = T;                                            ///< an item
    using iterator = typename std::vector<T>::iterator;              ///< changes items
    using const_iterator = typename std::vector<T>::const_iterator;  ///< reads items

    std::size_t size() const { return items_.size(); }       ///< the number of items
    bool empty() const { return items_.empty(); }            ///< whether there is no item
    iterator begin() { return items_.begin(); }              ///< the first item
    iterator end() { return items_.end(); }                  ///< the place after the last
    const_iterator begin() const { return items_.begin(); }  ///< the first item
    const_iterator end() const { return items_.end(); }      ///< the place after the last

    /// The item at @p index, which must be below size().
    T& operator[](std::size_t index) { return items_[index]; }
    const T& operator[](std::size_t index) const { return items_[index]; }  ///< the same, to read
    /// @{
    void push_back(T item) { items_.push_back(std::move(item)); }  ///< as that of std::vector
    iterator insert(const_iterator at, T item) { return items_.insert(at, std::move(item)); }
    iterator erase(const_iterator at) { return items_.erase(at); }
    void clear() { items_.clear(); }
    /// @}
private:
    std::vector<T> items_;
};

}  // namespace zrtl

// The model's signatures name the list and its delegates without their namespace.
namespace orlo::project {
using zrtl::ZRList;
namespace ZRListItemDelegate = zrtl::ZRListItemDelegate;
}  // namespace orlo::project
