/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * A program that is not linked to the library: it opens the file named on the command line, looks a function up by its
 * undecorated name, uses it, and closes the file again, several times over.
 */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

typedef uint32_t (*Converter)(void*, const void*, uint32_t, uint32_t);

static int use(const char* path) {
    static const uint8_t rgb[6] = {1, 2, 3, 4, 5, 6};
    static const uint8_t wanted[8] = {3, 2, 1, 255, 6, 5, 4, 255};
    uint8_t bgra[8] = {0};
    Converter convert = NULL;
    void* symbol;
    uint32_t status;
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "dlopen: %s\n", dlerror());
        return 1;
    }
    symbol = dlsym(library, "ConvRGB8PToBGRA");
    if (symbol == NULL) {
        fprintf(stderr, "dlopen: %s\n", dlerror());
        return 1;
    }
    memcpy(&convert, &symbol, sizeof convert); /* C has no cast from an object pointer to a function pointer */
    status = convert(bgra, rgb, 2, 1);
    if (status != 0 || memcmp(bgra, wanted, sizeof wanted) != 0) {
        fprintf(stderr, "dlopen: status %u or another picture\n", (unsigned)status);
        return 1;
    }
    return dlclose(library);
}

int main(int argc, char** argv) {
    int round;
    for (round = 0; round < 10; ++round) {
        if (argc != 2 || use(argv[1]) != 0) {
            return 1;
        }
    }
    return 0;
}
