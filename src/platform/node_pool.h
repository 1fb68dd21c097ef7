/// Memory for the nodes of one container: taken from the heap by the chunk, given back to it only
/// when no node is left. A queue that lives on one thread then neither asks the heap for each
/// request nor shares its locks with the callers' threads. A pool belongs to one container, is
/// declared ahead of it and guarded like it.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace corebeacon {

class NodePool {
public:
    NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;

    /// A block of `bytes`. The pool is for blocks of the size that is taken first; others, such as
    /// a hash table's buckets, come from the heap.
    void* Take(std::size_t bytes) {
        if (mBlockBytes == 0) {
            mBlockBytes = bytes;
        }
        if (bytes != mBlockBytes) {
            return ::operator new(bytes);
        }
        if (mFree == nullptr) {
            AddChunk();
        }
        Block* block = mFree;
        mFree = block->next;
        ++mTaken;
        return block;
    }

    /// `bytes` is what the block was taken with.
    void Give(void* memory, std::size_t bytes) noexcept {
        if (bytes != mBlockBytes) {
            ::operator delete(memory);
            return;
        }
        mFree = new (memory) Block{mFree};
        --mTaken;
        if (mTaken == 0 && mChunks.size() > 1) {
            // Of a crowd that has gone, the first chunk is kept for who comes next.
            mChunks.resize(1);
            mFree = nullptr;
            Thread(mChunks.front());
        }
    }

private:
    struct Block {
        Block* next;
    };
    struct Chunk {
        std::unique_ptr<std::byte[]> memory;
        std::size_t blocks = 0;
    };
    static constexpr std::size_t kFirstBlocks = 8;
    static constexpr std::size_t kMostBlocks = 256;

    std::size_t Stride() const {
        constexpr std::size_t kAlignment = alignof(std::max_align_t);
        return (mBlockBytes + kAlignment - 1) / kAlignment * kAlignment;
    }

    void AddChunk() {
        const std::size_t doubled = mChunks.empty() ? kFirstBlocks : 2 * mChunks.back().blocks;
        Chunk chunk;
        chunk.blocks = doubled < kMostBlocks ? doubled : kMostBlocks;
        chunk.memory.reset(new std::byte[chunk.blocks * Stride()]);
        mChunks.push_back(std::move(chunk));
        Thread(mChunks.back());
    }

    /// Puts the blocks of a chunk on the list of free ones, the first of them in front.
    void Thread(Chunk& chunk) noexcept {
        for (std::size_t at = chunk.blocks; at > 0; --at) {
            mFree = new (chunk.memory.get() + (at - 1) * Stride()) Block{mFree};
        }
    }

    std::vector<Chunk> mChunks;
    Block* mFree = nullptr;
    std::size_t mBlockBytes = 0;
    std::size_t mTaken = 0;
};

/// Lets a standard container take its nodes from a pool.
template <typename T>
class PoolAllocator {
public:
    using value_type = T;

    explicit PoolAllocator(NodePool& pool) noexcept : mPool(&pool) {}
    template <typename Other>  // implicit: containers turn it into one for each kind of node
    // NOLINTNEXTLINE(google-explicit-constructor)
    PoolAllocator(const PoolAllocator<Other>& other) noexcept : mPool(other.Pool()) {}

    T* allocate(std::size_t count) { return static_cast<T*>(mPool->Take(count * kBytes)); }
    void deallocate(T* memory, std::size_t count) noexcept { mPool->Give(memory, count * kBytes); }
    NodePool* Pool() const noexcept { return mPool; }

    template <typename Other>
    bool operator==(const PoolAllocator<Other>& other) const noexcept {
        return mPool == other.Pool();
    }

private:
    static_assert(alignof(T) <= alignof(std::max_align_t));
    // Of a table's buckets, which are pointers, it is the pointer's size that is meant.
    static constexpr std::size_t kBytes = sizeof(T);  // NOLINT(bugprone-sizeof-expression)
    NodePool* mPool;
};

}  // namespace corebeacon
