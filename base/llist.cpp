// LLIST and PTRLLIST: doubly linked lists with a built-in cursor.
//
// LLIST owns a copy of each element's bytes; PTRLLIST's copy is the element pointer itself, so a
// large record is held without copying. The deleter, when set, runs on each element as its node
// goes: on the copy for LLIST (which then frees the copy), on the stored pointer for PTRLLIST.

#include "base/containers.h"

#include <cstring>
#include <new>

// ---------------------------------------------------------------------------------------------
// LLIST
// ---------------------------------------------------------------------------------------------

LLIST::~LLIST()
{
    clear();
}

// A new node goes in front of the cursor, so that inserting while walking with next() puts the
// element just before the node next() gives; with no cursor it goes to the tail.
bool LLIST::insert(const void* data, INT_S16 size)
{
    LLIST_NODE* node = new (std::nothrow) LLIST_NODE;
    if (!node)
        return false;
    if (size > 0) {
        unsigned char* copy = new (std::nothrow) unsigned char[static_cast<size_t>(size)];
        if (!copy) {
            delete node;
            return false;
        }
        if (data)
            memcpy(copy, data, static_cast<size_t>(size));
        else
            memset(copy, 0, static_cast<size_t>(size));
        node->data = copy;
    }

    if (!m_head) {
        m_head = node;
        m_tail = node;
    } else if (!m_cursor) {
        node->previous = m_tail;
        m_tail->next = node;
        m_tail = node;
    } else {
        node->next = m_cursor;
        node->previous = m_cursor->previous;
        if (m_cursor->previous)
            m_cursor->previous->next = node;
        else
            m_head = node;
        m_cursor->previous = node;
    }
    ++m_count;
    return true;
}

void* LLIST::next(LLIST_NODE** node_out)
{
    LLIST_NODE* node = m_cursor;
    if (node_out)
        *node_out = node;
    if (!node)
        return nullptr;
    m_cursor = node->next;
    return node->data;
}

void* LLIST::previous(LLIST_NODE** node_out)
{
    LLIST_NODE* node = m_cursor;
    if (node_out)
        *node_out = node;
    if (!node)
        return nullptr;
    m_cursor = node->previous;
    return node->data;
}

bool LLIST::remove(const void* data)
{
    for (LLIST_NODE* node = m_head; node; node = node->next) {
        if (node->data == data) {
            remove_node(node);
            return true;
        }
    }
    return false;
}

void LLIST::remove_node(LLIST_NODE* node)
{
    if (!node)
        return;
    if (node->previous)
        node->previous->next = node->next;
    else
        m_head = node->next;
    if (node->next)
        node->next->previous = node->previous;
    else
        m_tail = node->previous;
    if (m_cursor == node)
        m_cursor = nullptr;
    free_data(node);
    --m_count;
    delete[] static_cast<unsigned char*>(node->data);
    delete node;
}

void LLIST::clear()
{
    LLIST_NODE* node = m_head;
    while (node) {
        LLIST_NODE* following = node->next;
        free_data(node);
        delete[] static_cast<unsigned char*>(node->data);
        delete node;
        node = following;
    }
    m_count = 0;
    m_head = nullptr;
    m_tail = nullptr;
    m_cursor = nullptr;
}

void LLIST::free_data(LLIST_NODE* node)
{
    if (m_deleter && node->data)
        m_deleter(node->data);
}

// ---------------------------------------------------------------------------------------------
// PTRLLIST
// ---------------------------------------------------------------------------------------------

namespace {

void* stored_pointer(const LLIST_NODE* node)
{
    void* pointer = nullptr;
    if (node && node->data)
        memcpy(&pointer, node->data, sizeof(pointer));
    return pointer;
}

} // namespace

// The base destructor would reach only LLIST::free_data; clearing here lets the deleter see the
// stored pointers.
PTRLLIST::~PTRLLIST()
{
    clear();
}

bool PTRLLIST::insert(void* pointer)
{
    return LLIST::insert(&pointer, static_cast<INT_S16>(sizeof(pointer)));
}

void* PTRLLIST::next(LLIST_NODE** node_out)
{
    LLIST_NODE* node = m_cursor;
    LLIST::next(node_out);
    return stored_pointer(node);
}

void* PTRLLIST::previous(LLIST_NODE** node_out)
{
    LLIST_NODE* node = m_cursor;
    LLIST::previous(node_out);
    return stored_pointer(node);
}

bool PTRLLIST::remove(const void* pointer)
{
    for (LLIST_NODE* node = m_head; node; node = node->next) {
        if (stored_pointer(node) == pointer) {
            remove_node(node);
            return true;
        }
    }
    return false;
}

void PTRLLIST::free_data(LLIST_NODE* node)
{
    void* pointer = stored_pointer(node);
    if (m_deleter && pointer)
        m_deleter(pointer);
}
