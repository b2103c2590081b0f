#include "ZQFork.h"
#include "ZQThreadPool/ZQRefThreadPoolGlobal.h"
#include "ZQTime/ZQTimerGlobal.h"

// The objects that live as long as the library is loaded, all of them, in the order of their construction; they are
// destroyed in the opposite order.
ZQFork s_csFork;
ZQRefThreadPoolGlobal _s_csGlobal;
ZQTimerGlobal s_csTimerGlobal;
