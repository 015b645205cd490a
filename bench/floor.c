// The minimum that any implementation must do: an operation's system calls and nothing else; for planning, a pruned
// search over bit masks. The benchmark calls this through ctypes. It measures its own time.
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

enum kind { EXISTS, READ, MAKE_DIRECTORY, WRITE };

struct operation {
    int kind;
    const char* path;
    const char* content;  // WRITE
    size_t size;          // of the content
    long result;          // READ and WRITE: bytes; EXISTS and MAKE_DIRECTORY: 0; -1 on failure
};

static double nanoseconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return 1e9 * (double)now.tv_sec + (double)now.tv_nsec;
}

// One read if it returns exactly the size from fstat; otherwise reads until the end.
static long read_file(const char* path) {
    static char buffer[1 << 16];
    struct stat status;
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return -1;
    fstat(file, &status);
    long total = read(file, buffer, sizeof buffer);
    if (total == 0 || total != status.st_size) {
        long count;
        while ((count = read(file, buffer, sizeof buffer)) > 0) total += count;
    }
    close(file);
    return total;
}

static long write_file(const char* path, const char* content, size_t size) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0) return -1;
    const long written = write(file, content, size);
    close(file);
    return written;
}

// Leaf first, like pathlib's mkdir(parents=True, exist_ok=True).
static long make_directory(const char* path) {
    struct stat status;
    if (mkdir(path, 0777) == 0) return 0;
    if (errno == EEXIST) return stat(path, &status) == 0 && S_ISDIR(status.st_mode) ? 0 : -1;
    if (errno != ENOENT) return -1;
    char parent[4096];
    const size_t length = (size_t)(strrchr(path, '/') - path);
    memcpy(parent, path, length);
    parent[length] = '\0';
    return make_directory(parent) == 0 ? mkdir(path, 0777) : -1;
}

static long perform(const struct operation* op) {
    struct stat status;
    switch (op->kind) {
        case EXISTS: return stat(op->path, &status);
        case READ: return read_file(op->path);
        case MAKE_DIRECTORY: return make_directory(op->path);
        default: return write_file(op->path, op->content, op->size);
    }
}

// Nanoseconds for running all operations `loops` times.
double run_operations(struct operation* ops, int count, long loops) {
    const double start = nanoseconds();
    for (long i = 0; i < loops; i++)
        for (int j = 0; j < count; j++) ops[j].result = perform(&ops[j]);
    return nanoseconds() - start;
}

// Agents' directories as candidate numbers (below 64 in a search), in order of preference. Those of agent i are
// directories[starts[i]] up to, but not including, directories[starts[i + 1]].
struct planning {
    int agents;
    const int* starts;
    const int* directories;
};

struct best {
    int duplicates, native_rank, size;
    uint64_t selection;
};

static uint64_t mask_of(const struct planning* p, int agent) {
    uint64_t mask = 0;
    for (int i = p->starts[agent]; i < p->starts[agent + 1]; i++) mask |= UINT64_C(1) << p->directories[i];
    return mask;
}

static int is_better(const struct best* a, const struct best* b) {
    if (a->duplicates != b->duplicates) return a->duplicates < b->duplicates;
    if (a->native_rank != b->native_rank) return a->native_rank < b->native_rank;
    if (a->size != b->size) return a->size < b->size;
    const uint64_t difference = a->selection ^ b->selection;
    return (a->selection & difference & -difference) != 0;  // a has the lowest directory that they don't share
}

// Branches on the directories of the first agent without one. No other selection can win, because a redundant directory
// only adds duplicates. `excluded` holds the directories that earlier branches have tried.
static void search(const struct planning* p, const uint64_t* masks, uint64_t selection, uint64_t excluded,
                   struct best* best) {
    struct best found = {0, 0, __builtin_popcountll(selection), selection};
    int unserved = -1;
    for (int agent = 0; agent < p->agents; agent++) {
        const int hits = __builtin_popcountll(masks[agent] & selection);
        if (hits > 1) found.duplicates += hits - 1;
        if (hits == 0 && unserved < 0) unserved = agent;
    }
    if (found.duplicates > best->duplicates) return;
    if (unserved < 0) {
        for (int agent = 0; agent < p->agents; agent++)
            for (const int* d = p->directories + p->starts[agent]; !(selection >> *d & 1); d++) found.native_rank++;
        if (is_better(&found, best)) *best = found;
        return;
    }
    for (int i = p->starts[unserved]; i < p->starts[unserved + 1]; i++) {
        const uint64_t directory = UINT64_C(1) << p->directories[i];
        if (excluded & directory) continue;
        search(p, masks, selection | directory, excluded, best);
        excluded |= directory;
    }
}

// Nanoseconds for `loops` searches. Marks the best selection's directories in `chosen`.
double run_search(const struct planning* p, char* chosen, long loops) {
    const double start = nanoseconds();
    for (long loop = 0; loop < loops; loop++) {
        uint64_t masks[p->agents];
        for (int agent = 0; agent < p->agents; agent++) masks[agent] = mask_of(p, agent);
        struct best best = {1 << 30, 0, 0, 0};
        search(p, masks, 0, 0, &best);
        for (int i = 0; i < 64; i++) chosen[i] = (char)(best.selection >> i & 1);
    }
    return nanoseconds() - start;
}

// Nanoseconds for `loops` greedy choices among `count` directories. Marks the choice in `chosen`.
double run_greedy(const struct planning* p, char* chosen, int count, long loops) {
    const double start = nanoseconds();
    for (long loop = 0; loop < loops; loop++) {
        memset(chosen, 0, (size_t)count);
        for (int agent = 0; agent < p->agents; agent++) {
            int served = 0;
            for (int i = p->starts[agent]; i < p->starts[agent + 1]; i++) served |= chosen[p->directories[i]];
            if (!served) chosen[p->directories[p->starts[agent]]] = 1;
        }
    }
    return nanoseconds() - start;
}
