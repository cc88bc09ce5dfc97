// 32-bit atomic operations: the processor has no exclusive loads and stores, the system has its interlocked
// functions. (Without windows.h, whose interlocked functions are built on what stands here.)
extern "C" {

using Word = unsigned int;

long InterlockedExchange(long volatile* target, long value);
long InterlockedExchangeAdd(long volatile* target, long value);
long InterlockedCompareExchange(long volatile* target, long exchange, long comparand);

static volatile long* AsLong(volatile void* word) {
    return static_cast<volatile long*>(word);
}

Word __atomic_load_4(const volatile void* word, int) {
    return *static_cast<const volatile Word*>(word);
}
void __atomic_store_4(volatile void* word, Word value, int) {
    InterlockedExchange(AsLong(word), static_cast<long>(value));
}
Word __atomic_exchange_4(volatile void* word, Word value, int) {
    return static_cast<Word>(InterlockedExchange(AsLong(word), static_cast<long>(value)));
}
Word __atomic_fetch_add_4(volatile void* word, Word value, int) {
    return static_cast<Word>(InterlockedExchangeAdd(AsLong(word), static_cast<long>(value)));
}
Word __atomic_fetch_sub_4(volatile void* word, Word value, int) {
    return static_cast<Word>(InterlockedExchangeAdd(AsLong(word), -static_cast<long>(value)));
}
bool __atomic_compare_exchange_4(volatile void* word, void* expected, Word desired, bool, int, int) {
    const Word wanted = *static_cast<Word*>(expected);
    const auto found = static_cast<Word>(
        InterlockedCompareExchange(AsLong(word), static_cast<long>(desired), static_cast<long>(wanted)));
    if (found == wanted) return true;
    *static_cast<Word*>(expected) = found;
    return false;
}
Word __sync_fetch_and_add_4(volatile void* word, Word value) {
    return __atomic_fetch_add_4(word, value, 0);
}
Word __sync_fetch_and_sub_4(volatile void* word, Word value) {
    return __atomic_fetch_sub_4(word, value, 0);
}
Word __sync_add_and_fetch_4(volatile void* word, Word value) {
    return __atomic_fetch_add_4(word, value, 0) + value;
}
Word __sync_sub_and_fetch_4(volatile void* word, Word value) {
    return __atomic_fetch_sub_4(word, value, 0) - value;
}
Word __sync_lock_test_and_set_4(volatile void* word, Word value) {
    return __atomic_exchange_4(word, value, 0);
}
Word __sync_val_compare_and_swap_4(volatile void* word, Word expected, Word desired) {
    __atomic_compare_exchange_4(word, &expected, desired, false, 0, 0);
    return expected;
}
bool __sync_bool_compare_and_swap_4(volatile void* word, Word expected, Word desired) {
    return __atomic_compare_exchange_4(word, &expected, desired, false, 0, 0);
}
void __sync_synchronize() {}
}
