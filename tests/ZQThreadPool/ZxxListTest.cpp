#include "ZxxList.h"

#include "support/Fatal.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

template <class List> class ZxxListTest : public testing::Test {
protected:
    static std::vector<int> Elements(List& list) {
        std::vector<int> elements;
        for (auto it = list.begin(); it != list.end(); ++it) { elements.push_back(*it); }
        return elements;
    }

    /// Node functions with a list of spare nodes as context, the way the pools use them.
    static typename List::node_type* Take(void* spare) {
        List& list = *static_cast<List*>(spare);
        typename List::node_type* node = list.back_node();
        list.unlink(node);
        return node;
    }
    static void Give(typename List::node_type* node, void* spare) { static_cast<List*>(spare)->link_front(node); }
};

using ListTypes = testing::Types<ZxxListInner<int>, ZxxList<int>>;
struct ListNames {
    template <class List> static std::string GetName(int i) { return i == 0 ? "ZxxListInner" : "ZxxList"; }
};
TYPED_TEST_SUITE(ZxxListTest, ListTypes, ListNames);

TYPED_TEST(ZxxListTest, KeepsItsOrder) {
    TypeParam list;
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(list.begin() == list.end());
    EXPECT_EQ(list.front_node(), nullptr);
    list.push_front(2);
    list.push_back(3);
    list.push_front(1);
    EXPECT_EQ(list.size(), 3);
    EXPECT_EQ(this->Elements(list), (std::vector<int>{1, 2, 3}));

    auto it = list.begin();
    it = list.erase(++it);
    EXPECT_EQ(*it, 3);
    EXPECT_EQ(this->Elements(list), (std::vector<int>{1, 3}));
    EXPECT_TRUE(list.erase(it) == list.end());
    EXPECT_TRUE(list.erase(list.end()) == list.end());  // removes nothing
    EXPECT_EQ(this->Elements(list), (std::vector<int>{1}));
}

TYPED_TEST(ZxxListTest, LinksNodesOfItsOwner) {
    TypeParam list;
    typename TypeParam::node_type* first = TypeParam::calloc_node(nullptr);
    typename TypeParam::node_type* second = TypeParam::calloc_node(nullptr);
    EXPECT_FALSE(list.linked(first));
    EXPECT_EQ(first->data, 0);
    first->data = 1;
    second->data = 2;
    list.link_back(second);
    list.link_front(first);
    EXPECT_TRUE(list.linked(first));
    EXPECT_EQ(this->Elements(list), (std::vector<int>{1, 2}));
    list.unlink(first);
    EXPECT_FALSE(list.linked(first));
    EXPECT_EQ(list.front_node(), second);
    EXPECT_EQ(list.size(), 1);
    TypeParam::free_node(first, nullptr);
    TypeParam::free_node(nullptr, nullptr);
}

TYPED_TEST(ZxxListTest, DrawsItsNodesFromWhereItsOwnerSays) {
    TypeParam spare;
    for (int i = 0; i < 3; ++i) { spare.push_back(i); }
    {
        TypeParam list;
        list.push_back(7);
        list.set_node_functions(&this->Take, &this->Give, &spare);
        EXPECT_EQ(list.size(), 0);  // the node of before went back the way it came
        EXPECT_EQ(spare.size(), 3);
        list.push_back(1);
        list.push_front(0);
        EXPECT_EQ(spare.size(), 1);
        EXPECT_EQ(this->Elements(list), (std::vector<int>{0, 1}));
        list.erase(list.begin());
        EXPECT_EQ(spare.size(), 2);
        list.push_back(2);
    }
    EXPECT_EQ(spare.size(), 3);  // the destructor gives them back too
    EXPECT_EQ(this->Elements(spare), (std::vector<int>{2, 1, 0}));
}

TYPED_TEST(ZxxListTest, MisuseEndsTheProcess) {
    using Iterator = typename TypeParam::iterator;
    const struct {
        const char* name;
        void (*action)();
        const char* report;
    } cases[] = {
        {"no node at the back",
         [] {
             TypeParam list;
             list.set_node_functions([](void*) -> typename TypeParam::node_type* { return nullptr; },
                                     TypeParam::free_node, nullptr);
             list.push_back(1);
         },
         "_Abort: pNode, Foundation/src/../include/ZxxList, 1071\n"},
        {"no node at the front",
         [] {
             TypeParam list;
             list.set_node_functions([](void*) -> typename TypeParam::node_type* { return nullptr; },
                                     TypeParam::free_node, nullptr);
             list.push_front(1);
         },
         "_Abort: pNode, Foundation/src/../include/ZxxList, 1087\n"},
        {"reading no place", [] { *Iterator() = 1; }, "_Abort: _pCurPointer, Foundation/src/../include/ZxxList, 791\n"},
        {"moving no place",
         [] {
             Iterator it;
             ++it;
         },
         "_Abort: _pCurPointer, Foundation/src/../include/ZxxList, 803\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ExpectCrash(c.action, c.report);
    }
}
