#include "support/olist.h"

ONode::~ONode() { Unlink(); }

void ONode::Unlink() {
  if (_list != nullptr && _list->_head == this) _list->_head = _next;
  if (_list != nullptr && _list->_tail == this) _list->_tail = _previous;
  if (_next != nullptr) _next->_previous = _previous;
  if (_previous != nullptr) _previous->_next = _next;
  _next = nullptr;
  _previous = nullptr;
  _list = nullptr;
}

OList::~OList() {
  while (_head != nullptr) {
    ONode* const node = _head;
    _head = node->_next;
    delete node;
  }
}

ONode* OList::CreateNode() { return new ONode; }

bool OList::AddTail(ONode* node) {
  if (node == nullptr) return false;
  node->_list = this;
  node->_next = nullptr;
  node->_previous = _tail;
  if (_tail != nullptr) _tail->_next = node;
  if (_head == nullptr) _head = node;
  _tail = node;
  return true;
}

ONode* OList::RemoveHead() {
  ONode* const node = _head;
  if (node != nullptr) node->Unlink();
  return node;
}
