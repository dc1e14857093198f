// SPDX-License-Identifier: Apache-2.0

// Loaded ahead of the C library into a program under test (LD_PRELOAD): counts what the program asks of the
// system, and lets one call of one kind fail. In the environment:
//
//   VELA_FAULT           PROGRAM:CALL:NUMBER:EFFECT. PROGRAM is the name it was started by; CALL one of
//   `callNames`;
//                        NUMBER counts from 1, through all processes of that name in a run, 0 counts only;
//                        EFFECT is an errno, "short" (one byte is read or written, where there were more) or
//                        "kill" (SIGKILL).
//   VELA_FAULT_COUNTERS  a file of at least sizeof(Counters) bytes for the counts. It is shared and outlives
//   the
//                        program, so that a program that is killed or leaves by _exit has counted too.
//
// Sees what goes through the symbols of the C library, not what the C library does within itself (stdio's own
// reads and writes, the loader's). Allocates nothing. Safe from any thread.

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
}

namespace {

enum class Call {
    memory,
    open,
    read,
    write,
    receive,
    send,
    connect,
    flush,
    rename,
    map,
    thread,
    epoll,
    poll,
    socket,
    spawn,
    lock,
    remove,
    folder
};
constexpr const char* callNames[] = {"memory",  "open",   "read",   "write", "receive", "send",
                                     "connect", "flush",  "rename", "map",   "thread",  "epoll",
                                     "poll",    "socket", "spawn",  "lock",  "remove",  "folder"};
constexpr std::size_t callCount = sizeof callNames / sizeof callNames[0];

struct Counters {
    std::uint64_t made[callCount];
    std::uint64_t injected;
};

struct Plan {
    Counters* counters = nullptr;  // null: this is not the program
    std::size_t call = callCount;
    std::uint64_t number = 0;
    int error = 0;
    bool isShort = false;
    bool kills = false;
};
Plan plan;

/// The next field of `text`, which moves behind the colon.
bool takeField(const char*& text, char* field, std::size_t size) {
    std::size_t length = 0;
    for (; *text != '\0' && *text != ':'; ++text)
        if (length + 1 < size) field[length++] = *text;
    field[length] = '\0';
    if (*text == ':') ++text;
    return length > 0;
}

__attribute__((constructor)) void readPlan() {
    const char* text = std::getenv("VELA_FAULT");
    const char* file = std::getenv("VELA_FAULT_COUNTERS");
    char program[64], call[16], number[24], effect[16];
    if (!text || !file || !takeField(text, program, sizeof program) || !takeField(text, call, sizeof call) ||
        !takeField(text, number, sizeof number) || !takeField(text, effect, sizeof effect) ||
        std::strcmp(program, program_invocation_short_name) != 0)
        return;
    for (std::size_t index = 0; index < callCount; ++index)
        if (std::strcmp(callNames[index], call) == 0) plan.call = index;
    plan.number = std::strtoull(number, nullptr, 10);
    plan.isShort = std::strcmp(effect, "short") == 0;
    plan.kills = std::strcmp(effect, "kill") == 0;
    plan.error = std::atoi(effect);

    using Open = int (*)(const char*, int, ...);
    using Map = void* (*)(void*, std::size_t, int, int, int, off_t);
    const auto nextOpen = reinterpret_cast<Open>(::dlsym(RTLD_NEXT, "open"));
    const auto nextMap = reinterpret_cast<Map>(::dlsym(RTLD_NEXT, "mmap"));
    const int descriptor = nextOpen(file, O_RDWR | O_CLOEXEC);
    if (descriptor < 0) return;
    void* mapped = nextMap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (mapped != MAP_FAILED) plan.counters = static_cast<Counters*>(mapped);
}

enum class Verdict { goOn, fail, shorten };

Verdict verdict(Call call) {
    if (!plan.counters) return Verdict::goOn;
    const auto index = static_cast<std::size_t>(call);
    const auto count = __atomic_add_fetch(&plan.counters->made[index], 1, __ATOMIC_RELAXED);
    if (index != plan.call || count != plan.number) return Verdict::goOn;
    __atomic_add_fetch(&plan.counters->injected, 1, __ATOMIC_RELAXED);
    if (plan.kills) ::kill(::getpid(), SIGKILL);
    if (plan.isShort) return Verdict::shorten;
    errno = plan.error;
    return Verdict::fail;
}

bool fails(Call call) {
    return verdict(call) == Verdict::fail;
}

enum class Direction { in, out };

/// A transfer over a socket is another kind of call than one from or to a file or a pipe. What wakes a loop
/// (an eventfd, a timer) is neither: it cannot fail in any of these ways.
bool isCounted(Direction direction, int descriptor, Call& call) {
    struct stat found;
    if (::fstat(descriptor, &found) != 0 || (found.st_mode & S_IFMT) == 0) return false;
    const bool isSocket = S_ISSOCK(found.st_mode);
    if (direction == Direction::in)
        call = isSocket ? Call::receive : Call::read;
    else
        call = isSocket ? Call::send : Call::write;
    return true;
}

Verdict verdict(Direction direction, int descriptor) {
    Call call;
    return plan.counters && isCounted(direction, descriptor, call) ? verdict(call) : Verdict::goOn;
}

/// What a transfer of `length` bytes may do: all of them, one, or (-1) fail.
ssize_t allowance(Direction direction, int descriptor, std::size_t length) {
    switch (verdict(direction, descriptor)) {
        case Verdict::goOn: return static_cast<ssize_t>(length);
        case Verdict::shorten: return length > 1 ? 1 : static_cast<ssize_t>(length);
        case Verdict::fail: return -1;
    }
    return -1;
}

struct Vectors {
    const iovec* parts;
    int count;
};

/// The same for scattered bytes: the first non-empty part cut to one byte, kept in `first`.
bool mayTransfer(Direction direction, int descriptor, Vectors& vectors, iovec& first) {
    const auto said = verdict(direction, descriptor);
    if (said == Verdict::fail) return false;
    for (int index = 0; said == Verdict::shorten && index < vectors.count; ++index) {
        if (vectors.parts[index].iov_len == 0) continue;
        first = {vectors.parts[index].iov_base, 1};
        vectors = {&first, 1};
    }
    return true;
}

template <typename Function>
Function* next(Function* /*same*/, const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

// Each stands in front of the function of its name.
#define NEXT(name)                                \
    static decltype(&::name) following = nullptr; \
    if (!following) following = next(&::name, #name)

extern "C" {

void* malloc(std::size_t size) noexcept {
    return fails(Call::memory) ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    return fails(Call::memory) ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) noexcept {
    return fails(Call::memory) ? nullptr : __libc_realloc(block, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return fails(Call::memory) ? nullptr : __libc_memalign(alignment, size);
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return fails(Call::memory) ? nullptr : __libc_memalign(alignment, size);
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    void* made = fails(Call::memory) ? nullptr : __libc_memalign(alignment, size);
    if (!made) return ENOMEM;
    *block = made;
    return 0;
}

int open(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = va_arg(more, mode_t);
    va_end(more);
    NEXT(open);
    return fails(Call::open) ? -1 : following(path, flags, mode);
}
int open64(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = va_arg(more, mode_t);
    va_end(more);
    NEXT(open64);
    return fails(Call::open) ? -1 : following(path, flags, mode);
}
int openat(int folder, const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = va_arg(more, mode_t);
    va_end(more);
    NEXT(openat);
    return fails(Call::open) ? -1 : following(folder, path, flags, mode);
}
int openat64(int folder, const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = va_arg(more, mode_t);
    va_end(more);
    NEXT(openat64);
    return fails(Call::open) ? -1 : following(folder, path, flags, mode);
}
// What the checking variants of the C library's headers become.
int __open_2(const char* path, int flags) {
    return open(path, flags, 0);
}
int __open64_2(const char* path, int flags) {
    return open64(path, flags, 0);
}
int __openat_2(int folder, const char* path, int flags) {
    return openat(folder, path, flags, 0);
}
FILE* fopen(const char* path, const char* mode) {
    NEXT(fopen);
    return fails(Call::open) ? nullptr : following(path, mode);
}
FILE* fopen64(const char* path, const char* mode) {
    NEXT(fopen64);
    return fails(Call::open) ? nullptr : following(path, mode);
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
    NEXT(read);
    const auto allowed = allowance(Direction::in, descriptor, size);
    return allowed < 0 ? -1 : following(descriptor, buffer, static_cast<std::size_t>(allowed));
}
ssize_t __read_chk(int descriptor, void* buffer, std::size_t size, std::size_t) {
    return read(descriptor, buffer, size);
}
ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
    NEXT(pread);
    const auto allowed = allowance(Direction::in, descriptor, size);
    return allowed < 0 ? -1 : following(descriptor, buffer, static_cast<std::size_t>(allowed), offset);
}
ssize_t pread64(int descriptor, void* buffer, std::size_t size, off64_t offset) {
    NEXT(pread64);
    const auto allowed = allowance(Direction::in, descriptor, size);
    return allowed < 0 ? -1 : following(descriptor, buffer, static_cast<std::size_t>(allowed), offset);
}
ssize_t readv(int descriptor, const iovec* parts, int count) {
    NEXT(readv);
    iovec first;
    Vectors vectors{parts, count};
    return mayTransfer(Direction::in, descriptor, vectors, first)
               ? following(descriptor, vectors.parts, vectors.count)
               : -1;
}
ssize_t recv(int descriptor, void* buffer, std::size_t size, int flags) {
    NEXT(recv);
    const auto allowed = allowance(Direction::in, descriptor, size);
    return allowed < 0 ? -1 : following(descriptor, buffer, static_cast<std::size_t>(allowed), flags);
}
ssize_t __recv_chk(int descriptor, void* buffer, std::size_t size, std::size_t, int flags) {
    return recv(descriptor, buffer, size, flags);
}
ssize_t recvmsg(int descriptor, msghdr* message, int flags) {
    NEXT(recvmsg);
    iovec first;
    Vectors vectors{message->msg_iov, static_cast<int>(message->msg_iovlen)};
    if (!mayTransfer(Direction::in, descriptor, vectors, first)) return -1;
    msghdr shortened = *message;
    shortened.msg_iov = const_cast<iovec*>(vectors.parts);
    shortened.msg_iovlen = static_cast<std::size_t>(vectors.count);
    const auto received = following(descriptor, &shortened, flags);
    message->msg_namelen = shortened.msg_namelen;
    message->msg_controllen = shortened.msg_controllen;
    message->msg_flags = shortened.msg_flags;
    return received;
}

ssize_t write(int descriptor, const void* buffer, std::size_t size) {
    NEXT(write);
    const auto allowed = allowance(Direction::out, descriptor, size);
    return allowed < 0 ? -1 : following(descriptor, buffer, static_cast<std::size_t>(allowed));
}
ssize_t pwrite(int descriptor, const void* buffer, std::size_t size, off_t offset) {
    NEXT(pwrite);
    const auto allowed = allowance(Direction::out, descriptor, size);
    return allowed < 0 ? -1 : following(descriptor, buffer, static_cast<std::size_t>(allowed), offset);
}
ssize_t pwrite64(int descriptor, const void* buffer, std::size_t size, off64_t offset) {
    NEXT(pwrite64);
    const auto allowed = allowance(Direction::out, descriptor, size);
    return allowed < 0 ? -1 : following(descriptor, buffer, static_cast<std::size_t>(allowed), offset);
}
ssize_t writev(int descriptor, const iovec* parts, int count) {
    NEXT(writev);
    iovec first;
    Vectors vectors{parts, count};
    return mayTransfer(Direction::out, descriptor, vectors, first)
               ? following(descriptor, vectors.parts, vectors.count)
               : -1;
}
ssize_t send(int descriptor, const void* buffer, std::size_t size, int flags) {
    NEXT(send);
    const auto allowed = allowance(Direction::out, descriptor, size);
    return allowed < 0 ? -1 : following(descriptor, buffer, static_cast<std::size_t>(allowed), flags);
}
ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
    NEXT(sendmsg);
    iovec first;
    Vectors vectors{message->msg_iov, static_cast<int>(message->msg_iovlen)};
    if (!mayTransfer(Direction::out, descriptor, vectors, first)) return -1;
    msghdr shortened = *message;
    shortened.msg_iov = const_cast<iovec*>(vectors.parts);
    shortened.msg_iovlen = static_cast<std::size_t>(vectors.count);
    return following(descriptor, &shortened, flags);
}
int ftruncate(int descriptor, off_t length) noexcept {
    NEXT(ftruncate);
    return fails(Call::write) ? -1 : following(descriptor, length);
}
int ftruncate64(int descriptor, off64_t length) noexcept {
    NEXT(ftruncate64);
    return fails(Call::write) ? -1 : following(descriptor, length);
}
int posix_fallocate(int descriptor, off_t offset, off_t length) {
    NEXT(posix_fallocate);
    return fails(Call::write) ? errno : following(descriptor, offset, length);
}
int posix_fallocate64(int descriptor, off64_t offset, off64_t length) {
    NEXT(posix_fallocate64);
    return fails(Call::write) ? errno : following(descriptor, offset, length);
}

int connect(int descriptor, const sockaddr* address, socklen_t length) {
    NEXT(connect);
    return fails(Call::connect) ? -1 : following(descriptor, address, length);
}
int fsync(int descriptor) {
    NEXT(fsync);
    return fails(Call::flush) ? -1 : following(descriptor);
}
int fdatasync(int descriptor) {
    NEXT(fdatasync);
    return fails(Call::flush) ? -1 : following(descriptor);
}
int rename(const char* from, const char* to) noexcept {
    NEXT(rename);
    return fails(Call::rename) ? -1 : following(from, to);
}
int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    NEXT(renameat);
    return fails(Call::rename) ? -1 : following(fromFolder, from, toFolder, to);
}
void* mmap(void* address, std::size_t size, int protection, int flags, int descriptor,
           off_t offset) noexcept {
    NEXT(mmap);
    return fails(Call::map) ? MAP_FAILED : following(address, size, protection, flags, descriptor, offset);
}
void* mmap64(void* address, std::size_t size, int protection, int flags, int descriptor,
             off64_t offset) noexcept {
    NEXT(mmap64);
    return fails(Call::map) ? MAP_FAILED : following(address, size, protection, flags, descriptor, offset);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*work)(void*),
                   void* argument) noexcept {
    NEXT(pthread_create);
    return fails(Call::thread) ? errno : following(thread, attributes, work, argument);
}

int epoll_ctl(int descriptor, int operation, int watched, epoll_event* event) noexcept {
    NEXT(epoll_ctl);
    return fails(Call::epoll) ? -1 : following(descriptor, operation, watched, event);
}
int epoll_create1(int flags) noexcept {
    NEXT(epoll_create1);
    return fails(Call::epoll) ? -1 : following(flags);
}
int epoll_wait(int descriptor, epoll_event* events, int count, int milliseconds) {
    NEXT(epoll_wait);
    return fails(Call::poll) ? -1 : following(descriptor, events, count, milliseconds);
}
int poll(pollfd* descriptors, nfds_t count, int milliseconds) {
    NEXT(poll);
    return fails(Call::poll) ? -1 : following(descriptors, count, milliseconds);
}
int __poll_chk(pollfd* descriptors, nfds_t count, int milliseconds, std::size_t) {
    return poll(descriptors, count, milliseconds);
}

int socket(int domain, int type, int protocol) noexcept {
    NEXT(socket);
    return fails(Call::socket) ? -1 : following(domain, type, protocol);
}
int socketpair(int domain, int type, int protocol, int pair[2]) noexcept {
    NEXT(socketpair);
    return fails(Call::socket) ? -1 : following(domain, type, protocol, pair);
}
int pipe(int ends[2]) noexcept {
    NEXT(pipe);
    return fails(Call::socket) ? -1 : following(ends);
}
int pipe2(int ends[2], int flags) noexcept {
    NEXT(pipe2);
    return fails(Call::socket) ? -1 : following(ends, flags);
}
int eventfd(unsigned count, int flags) noexcept {
    NEXT(eventfd);
    return fails(Call::socket) ? -1 : following(count, flags);
}
int timerfd_create(clockid_t clock, int flags) noexcept {
    NEXT(timerfd_create);
    return fails(Call::socket) ? -1 : following(clock, flags);
}
int dup(int descriptor) noexcept {
    NEXT(dup);
    return fails(Call::socket) ? -1 : following(descriptor);
}
int dup2(int from, int to) noexcept {
    NEXT(dup2);
    return fails(Call::socket) ? -1 : following(from, to);
}

int posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]) {
    NEXT(posix_spawn);
    return fails(Call::spawn) ? errno : following(process, path, actions, attributes, arguments, environment);
}
int posix_spawnp(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]) {
    NEXT(posix_spawnp);
    return fails(Call::spawn) ? errno : following(process, path, actions, attributes, arguments, environment);
}
pid_t fork() noexcept {
    NEXT(fork);
    return fails(Call::spawn) ? -1 : following();
}

int flock(int descriptor, int operation) noexcept {
    NEXT(flock);
    return fails(Call::lock) ? -1 : following(descriptor, operation);
}
int fcntl(int descriptor, int command, ...) {
    va_list more;
    va_start(more, command);
    void* const argument = va_arg(more, void*);
    va_end(more);
    NEXT(fcntl);
    const bool isLock = command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK;
    return isLock && fails(Call::lock) ? -1 : following(descriptor, command, argument);
}
int fcntl64(int descriptor, int command, ...) {
    va_list more;
    va_start(more, command);
    void* const argument = va_arg(more, void*);
    va_end(more);
    NEXT(fcntl64);
    const bool isLock = command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK;
    return isLock && fails(Call::lock) ? -1 : following(descriptor, command, argument);
}
int unlink(const char* path) noexcept {
    NEXT(unlink);
    return fails(Call::remove) ? -1 : following(path);
}
int unlinkat(int folder, const char* path, int flags) noexcept {
    NEXT(unlinkat);
    return fails(Call::remove) ? -1 : following(folder, path, flags);
}
int mkdir(const char* path, mode_t mode) noexcept {
    NEXT(mkdir);
    return fails(Call::folder) ? -1 : following(path, mode);
}

}  // extern "C"
