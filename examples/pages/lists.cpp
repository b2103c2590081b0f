// A queue that does not allocate once it has had its longest: used nodes go to a list of spare ones and come back from there.

#include <ZxxList.h>

#include <cstdio>

typedef ZxxListInner<int> List;

static List::node_type* Take(void* context)
{
    List& spare = *static_cast<List*>(context);
    List::node_type* node = spare.back_node();
    if (node == nullptr)
    {
        std::puts("a new node");
        return List::calloc_node(nullptr);
    }
    spare.unlink(node);
    return node;
}

static void Keep(List::node_type* node, void* context)
{
    static_cast<List*>(context)->link_front(node);
}

int main()
{
    List spare;  // before the queue, which gives its nodes back when it goes
    List queue;
    queue.set_node_functions(Take, Keep, &spare);
    for (int i = 1; i <= 4; ++i)
    {
        queue.push_back(i);
        std::printf("%d\n", *queue.begin());
        queue.erase(queue.begin());
    }
}

// prints:
// a new node
// 1
// 2
// 3
// 4
