/// An intrusive, doubly linked list that owns its nodes. Nothing locks: its owner serialises
/// access.
#pragma once

#include <type_traits>

class OList;

/// Base of what a list can hold. Destroying a node takes it out of its list.
class ONode {
 public:
  ONode() = default;
  virtual ~ONode();
  ONode(const ONode&) = delete;
  ONode& operator=(const ONode&) = delete;

  /// Null at the tail.
  ONode* GetNext() const { return _next; }

 private:
  friend class OList;
  void Unlink();

  ONode* _next = nullptr;
  ONode* _previous = nullptr;
  OList* _list = nullptr;
};

/// Nodes in the order they were added. Destroying the list deletes its nodes, head first.
class OList {
 public:
  OList() = default;
  virtual ~OList();
  /// A new unlinked node, made with new; the caller owns it.
  virtual ONode* CreateNode();
  OList(const OList&) = delete;
  OList& operator=(const OList&) = delete;

  /// Takes ownership of `node`, made with new and in no list. False for null.
  bool AddTail(ONode* node);
  /// Takes the head out and gives it to the caller; null when the list is empty.
  ONode* RemoveHead();
  /// Null when the list is empty.
  ONode* GetHead() const { return _head; }

 private:
  friend class ONode;
  ONode* _head = nullptr;
  ONode* _tail = nullptr;
};

/// A list of T, which derives from ONode: cast its nodes with static_cast<T*>.
template <class T, class List>
class OList_T : public List {
 public:
  /// Walks the whole list.
  int GetCount() const {
    static_assert(std::is_base_of_v<ONode, T>);
    int count = 0;
    for (const ONode* node = this->GetHead(); node != nullptr; node = node->GetNext()) ++count;
    return count;
  }
};
