#ifndef ZQTESTS_WORKERS_H
#define ZQTESTS_WORKERS_H

#include "Gate.h"

#include "ZQThreadPool.h"

#include <list>

/// Keeps a worker busy until it is told to finish.
struct Block {
    Gate entered;
    Gate opened;
    Gate left;

    static void Run(void* p, long) {
        Block& block = *static_cast<Block*>(p);
        block.entered.Arrive();
        block.opened.WaitFor(1);
        block.left.Arrive();
    }
    void Finish() {
        opened.Arrive();
        left.WaitFor(1);
    }
};

/// Starts @p nWorkers workers and has @p nTasks tasks queued at a time, so that everything that the pool keeps is there.
inline void WarmUp(ZQRefThreadPool& pool, int nWorkers, int nTasks) {
    std::list<Block> blocks(static_cast<size_t>(nWorkers));
    for (Block& block : blocks) { pool.Start(Block::Run, &block); }
    for (Block& block : blocks) { block.entered.WaitFor(1); }
    Gate done;
    for (int i = 0; i < nTasks; ++i) {
        pool.Start([](void* p, long) { static_cast<Gate*>(p)->Arrive(); }, &done);
    }
    for (Block& block : blocks) { block.Finish(); }
    done.WaitFor(nTasks);
}

#endif
