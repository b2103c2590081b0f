#include "ZxxList.h"

#include "support/Fatal.h"

template <class List> class ZxxListTest : public testing::Test {
protected:
    static std::vector<int> Elements(List& list) {
        std::vector<int> elements;
        for (auto it = list.begin(); it != list.end(); ++it) { elements.push_back(*it); }
        return elements;
    }

    /// Node functions with a list of spare nodes as context, the way the pools use them.
    static auto Take(void* spare) {
        auto* const node = static_cast<List*>(spare)->back_node();
        static_cast<List*>(spare)->unlink(node);
        return node;
    }
    static void Give(typename List::node_type* node, void* spare) { static_cast<List*>(spare)->link_front(node); }
};

using ListTypes = testing::Types<ZxxListInner<int>, ZxxList<int>>;
struct ListNames {
    template <class> static std::string GetName(int i) { return i == 0 ? "ZxxListInner" : "ZxxList"; }
};
TYPED_TEST_SUITE(ZxxListTest, ListTypes, ListNames);

TYPED_TEST(ZxxListTest, KeepsItsOrder) {
    TypeParam list;
    EXPECT_TRUE(list.empty() && list.begin() == list.end() && list.front_node() == nullptr);
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

    auto* const node = TypeParam::calloc_node(nullptr);
    EXPECT_EQ(node->data, 0);
    EXPECT_FALSE(list.linked(node));
    list.link_back(node);
    EXPECT_TRUE(list.linked(node));
    EXPECT_EQ(this->Elements(list), (std::vector<int>{1, 0}));
    list.unlink(node);
    EXPECT_FALSE(list.linked(node));
    EXPECT_EQ(list.front_node(), list.back_node());
    EXPECT_EQ(list.size(), 1);
    TypeParam::free_node(node, nullptr);
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
        list.erase(list.begin());
        EXPECT_EQ(spare.size(), 2);
        EXPECT_EQ(this->Elements(list), (std::vector<int>{1}));
    }
    EXPECT_EQ(this->Elements(spare).size(), 3U);  // the destructor gives them back too
}

TYPED_TEST(ZxxListTest, MisuseEndsTheProcess) {
    const std::string file = ", Foundation/src/../include/ZxxList, ";
    TypeParam list;
    typename TypeParam::iterator noPlace;
    list.set_node_functions([](void*) -> typename TypeParam::node_type* { return nullptr; }, TypeParam::free_node,
                            nullptr);
    ExpectCrash([&] { list.push_back(1); }, "_Abort: pNode" + file + "1071\n");
    ExpectCrash([&] { list.push_front(1); }, "_Abort: pNode" + file + "1087\n");
    ExpectCrash([&] { *noPlace = 1; }, "_Abort: _pCurPointer" + file + "791\n");
    ExpectCrash([&] { ++noPlace; }, "_Abort: _pCurPointer" + file + "803\n");
    ExpectCrash([&] { list.erase(noPlace); }, "_Abort: _pCurPointer" + file + "[0-9]+\n");
}
