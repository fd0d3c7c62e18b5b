/* Preloaded into a test program: finds out which of the listed instructions it executes. Each is
 * replaced by a trap when the program starts; the first time it is met, it is put back and marked.
 *
 * KELINFRA_TRAPS is a file: how many instructions there are in the program and in the shared
 * object, then those of the program and of the shared object, in order of address. KELINFRA_TRAPPED
 * is the program. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <limits.h>
#include <link.h>
#include <signal.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <ucontext.h>
#include <unistd.h>

enum { PROGRAM, SHARED_OBJECT, IMAGES };
static const unsigned char TRAP = 0xCC;

struct Place {
    uint64_t address;
    uint32_t isReached;
    uint32_t code; /* the first byte of the instruction */
};

static struct {
    uintptr_t base;
    uint64_t count;
    struct Place* places;
} images[IMAGES];

static unsigned char* instructionOf(int image, const struct Place* place) {
    return (unsigned char*)(images[image].base + place->address);
}

static struct Place* find(int image, uintptr_t address) {
    uint64_t first = 0;
    uint64_t last = images[image].base != 0 ? images[image].count : 0;
    while (first < last) {
        const uint64_t middle = first + (last - first) / 2;
        struct Place* const place = images[image].places + middle;
        if (images[image].base + place->address == address) {
            return place;
        }
        if (images[image].base + place->address < address) {
            first = middle + 1;
        } else {
            last = middle;
        }
    }
    return NULL;
}

static void onTrap(int number, siginfo_t* info, void* context) {
    greg_t* const registers = ((ucontext_t*)context)->uc_mcontext.gregs;
    const uintptr_t address = (uintptr_t)registers[REG_RIP] - 1;
    (void)number;
    (void)info;
    for (int image = PROGRAM; image < IMAGES; ++image) {
        struct Place* const place = find(image, address);
        if (place != NULL) {
            *instructionOf(image, place) = (unsigned char)place->code;
            place->isReached = 1;
            registers[REG_RIP] = (greg_t)address;
            return;
        }
    }
    abort();
}

static int isTrappedProgram(void) {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    const char* const wanted = getenv("KELINFRA_TRAPPED");
    return wanted != NULL && length == (ssize_t)strlen(wanted) &&
           memcmp(path, wanted, (size_t)length) == 0;
}

static void makeWritable(const struct dl_phdr_info* object) {
    const uintptr_t page = (uintptr_t)sysconf(_SC_PAGESIZE);
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const ElfW(Phdr)* const segment = object->dlpi_phdr + i;
        if (segment->p_type == PT_LOAD && (segment->p_flags & PF_X) != 0) {
            const uintptr_t start = object->dlpi_addr + segment->p_vaddr;
            const uintptr_t first = start & ~(page - 1);
            mprotect((void*)first, start + segment->p_memsz - first,
                     PROT_READ | PROT_WRITE | PROT_EXEC);
        }
    }
}

static void arm(int image, const struct dl_phdr_info* object) {
    makeWritable(object);
    images[image].base = object->dlpi_addr;
    for (uint64_t i = 0; i < images[image].count; ++i) {
        *instructionOf(image, images[image].places + i) = TRAP;
    }
}

static int armObject(struct dl_phdr_info* object, size_t size, void* isFirst) {
    (void)size;
    if (*(int*)isFirst) {
        *(int*)isFirst = 0;
        if (isTrappedProgram()) {
            arm(PROGRAM, object);
        }
    } else if (strstr(object->dlpi_name, "/libkelinfra.so") != NULL) {
        arm(SHARED_OBJECT, object);
    }
    return 0;
}

__attribute__((constructor)) static void start(void) {
    const char* const name = getenv("KELINFRA_TRAPS");
    const int file = name != NULL ? open(name, O_RDWR | O_CLOEXEC) : -1;
    struct stat status;
    if (file < 0 || fstat(file, &status) != 0) {
        _exit(99);
    }
    uint64_t* const counts =
        mmap(NULL, (size_t)status.st_size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (counts == MAP_FAILED) {
        _exit(99);
    }
    images[PROGRAM].count = counts[PROGRAM];
    images[SHARED_OBJECT].count = counts[SHARED_OBJECT];
    images[PROGRAM].places = (struct Place*)(counts + IMAGES);
    images[SHARED_OBJECT].places = images[PROGRAM].places + counts[PROGRAM];

    struct sigaction action = {0};
    action.sa_sigaction = onTrap;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    sigaction(SIGTRAP, &action, NULL);
    int isFirst = 1;
    dl_iterate_phdr(armObject, &isFirst);
}
