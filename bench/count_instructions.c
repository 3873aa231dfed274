// A plugin of the emulator: counts what the emulated program executes. At the end it appends to FILE (argument
// counts=FILE) a line "block ADDRESS INSTRUCTIONS" for every straight run of code, all its passes added up, and a line
// "call NUMBER TIMES" for every system call. A skipped conditional instruction counts, as it does in the processor.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// What is used of the emulator's interface for plugins, version 1; Debian ships no header for it.
enum { INLINE_ADD = 0, MAX_CALL = 512, MAX_BLOCKS = 65536 };
typedef uint64_t PluginId;
struct TranslatedBlock;
int qemu_plugin_version = 1;
void qemu_plugin_register_vcpu_tb_trans_cb(PluginId, void (*)(PluginId, struct TranslatedBlock *));
void qemu_plugin_register_vcpu_tb_exec_inline(struct TranslatedBlock *, int, void *, uint64_t);
size_t qemu_plugin_tb_n_insns(const struct TranslatedBlock *);
uint64_t qemu_plugin_tb_vaddr(const struct TranslatedBlock *);
void qemu_plugin_register_vcpu_syscall_cb(PluginId, void (*)(PluginId, unsigned, int64_t, uint64_t, uint64_t, uint64_t,
                                                             uint64_t, uint64_t, uint64_t, uint64_t, uint64_t));
void qemu_plugin_register_atexit_cb(PluginId, void (*)(PluginId, void *), void *);

static const char *s_pszFile;
static uint64_t s_aulCalls[MAX_CALL];
static struct {
    uint64_t ulAddress;
    uint64_t ulInstructions;
} s_atBlock[MAX_BLOCKS];
static size_t s_uBlocks;

static void Count_Block(PluginId ulId, struct TranslatedBlock *ptBlock)
{
    (void)ulId;
    if (s_uBlocks == MAX_BLOCKS)
        abort();
    s_atBlock[s_uBlocks].ulAddress = qemu_plugin_tb_vaddr(ptBlock);
    qemu_plugin_register_vcpu_tb_exec_inline(ptBlock, INLINE_ADD, &s_atBlock[s_uBlocks++].ulInstructions,
                                             qemu_plugin_tb_n_insns(ptBlock));
}

static void Count_Call(PluginId ulId, unsigned uCpu, int64_t lNumber, uint64_t a, uint64_t b, uint64_t c, uint64_t d,
                       uint64_t e, uint64_t f, uint64_t g, uint64_t h)
{
    (void)ulId, (void)uCpu, (void)a, (void)b, (void)c, (void)d, (void)e, (void)f, (void)g, (void)h;
    if (lNumber >= 0 && lNumber < MAX_CALL)
        s_aulCalls[lNumber]++;
}

static void Write_Counts(PluginId ulId, void *pUser)
{
    (void)ulId, (void)pUser;
    FILE *pFile = fopen(s_pszFile, "a");
    if (pFile == NULL)
        abort();
    for (size_t i = 0; i < s_uBlocks; i++)
        fprintf(pFile, "block %llu %llu\n", (unsigned long long)s_atBlock[i].ulAddress,
                (unsigned long long)s_atBlock[i].ulInstructions);
    for (int i = 0; i < MAX_CALL; i++)
        if (s_aulCalls[i] > 0)
            fprintf(pFile, "call %d %llu\n", i, (unsigned long long)s_aulCalls[i]);
    fclose(pFile);
}

int qemu_plugin_install(PluginId ulId, const void *pInfo, int iCount, char *apszArgument[])
{
    (void)pInfo;
    if (iCount != 1 || strncmp(apszArgument[0], "counts=", 7) != 0)
        return -1;
    s_pszFile = apszArgument[0] + 7;
    qemu_plugin_register_vcpu_tb_trans_cb(ulId, Count_Block);
    qemu_plugin_register_vcpu_syscall_cb(ulId, Count_Call);
    qemu_plugin_register_atexit_cb(ulId, Write_Counts, NULL);
    return 0;
}
