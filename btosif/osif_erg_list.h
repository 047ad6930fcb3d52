// The lists of a recurrence rule: singly linked, in reading order. A list owns its entries, grows
// at its end in constant time and is released without recursion, since a peer decides how long it
// gets.
#pragma once

#include <new>
#include <utility>

#include "btosif/osif_util/owned_text.h"

template <typename Entry>
class RuleList {
  struct Node {
    Entry entry;
    Node* next;
  };

 public:
  template <typename Value>
  class Iterator {
   public:
    explicit Iterator(Node* node) : node_(node) {}
    Value& operator*() const { return node_->entry; }
    Iterator& operator++() {
      node_ = node_->next;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return node_ != other.node_; }

   private:
    Node* node_;
  };

  RuleList() = default;
  RuleList(RuleList&& other) noexcept
      : first_(std::exchange(other.first_, nullptr)), last_(std::exchange(other.last_, nullptr)) {}
  RuleList& operator=(RuleList&& other) noexcept {
    std::swap(first_, other.first_);
    std::swap(last_, other.last_);
    return *this;
  }
  ~RuleList() {
    while (first_ != nullptr) {
      Node* node = std::exchange(first_, first_->next);
      node->~Node();
      OsifFree(node);
    }
  }

  // Puts an entry at the end and returns it there; null when memory is short, the list is then
  // unchanged.
  Entry* Append(Entry entry = {}) {
    void* memory = OsifAlloc(sizeof(Node));
    if (memory == nullptr) return nullptr;
    Node* node = new (memory) Node{std::move(entry), nullptr};
    (last_ != nullptr ? last_->next : first_) = node;
    last_ = node;
    return &node->entry;
  }

  bool empty() const { return first_ == nullptr; }

  // The first entry; null for an empty list.
  const Entry* first() const { return first_ == nullptr ? nullptr : &first_->entry; }

  Iterator<Entry> begin() { return Iterator<Entry>(first_); }
  Iterator<Entry> end() { return Iterator<Entry>(nullptr); }
  Iterator<const Entry> begin() const { return Iterator<const Entry>(first_); }
  Iterator<const Entry> end() const { return Iterator<const Entry>(nullptr); }

 private:
  Node* first_ = nullptr;
  Node* last_ = nullptr;
};
