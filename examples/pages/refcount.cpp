// An object with two owners: whoever lets go last deletes it.

#include <ZQRefCountedObject.h>

#include <cstdio>

namespace
{
class Picture : public ZQRefCountedObject
{
public:
    void Show() const
    {
        std::puts("shown");
    }

private:
    ~Picture() override  // not public: nobody deletes one by hand
    {
        std::puts("deleted");
    }
};
}  // namespace

int main()
{
    Picture* mine = new Picture;  // the first reference is the creator's
    mine->Duplicate();            // the second owner's; nothing is copied
    Picture* yours = mine;
    mine->Release();
    yours->Show();
    yours->Release();
}

// prints:
// shown
// deleted
