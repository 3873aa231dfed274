// A plugin of the emulator: counts what the emulated program executes. A block is a straight run of code; an
// instruction that its condition skips counts, as it does in the processor.
//
// counts=FILE  at the end FILE gets a line "instructions NUMBER", "call NUMBER TIMES" for every system call made, and
//              "touched PAGES", how many pages of shared memory were read, counted anew each time it is attached
// order=FILE   FILE gets the blocks in the order in which they run: two 32-bit numbers each, address and instructions
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/// What is used of the emulator's interface for plugins, version 1; Debian ships no header for it.
enum { INLINE_ADD = 0, NO_REGISTERS = 0, READS_AND_WRITES = 3, MAX_CALL = 512 };
typedef uint64_t PluginId;
struct TranslatedBlock;
struct Instruction;
int qemu_plugin_version = 1;
void qemu_plugin_register_vcpu_tb_trans_cb(PluginId, void (*)(PluginId, struct TranslatedBlock *));
void qemu_plugin_register_vcpu_tb_exec_inline(struct TranslatedBlock *, int, void *, uint64_t);
void qemu_plugin_register_vcpu_tb_exec_cb(struct TranslatedBlock *, void (*)(unsigned, void *), int, void *);
size_t qemu_plugin_tb_n_insns(const struct TranslatedBlock *);
uint64_t qemu_plugin_tb_vaddr(const struct TranslatedBlock *);
struct Instruction *qemu_plugin_tb_get_insn(const struct TranslatedBlock *, size_t);
void qemu_plugin_register_vcpu_mem_cb(struct Instruction *, void (*)(unsigned, uint32_t, uint64_t, void *), int, int,
                                      void *);
void qemu_plugin_register_vcpu_syscall_ret_cb(PluginId, void (*)(PluginId, unsigned, int64_t, int64_t));
void qemu_plugin_register_vcpu_syscall_cb(PluginId, void (*)(PluginId, unsigned, int64_t, uint64_t, uint64_t, uint64_t,
                                                             uint64_t, uint64_t, uint64_t, uint64_t, uint64_t));
void qemu_plugin_register_atexit_cb(PluginId, void (*)(PluginId, void *), void *);

static FILE *s_pCounts;
static FILE *s_pOrder;
static uint64_t s_qwInstructions;
static uint64_t s_aulCalls[MAX_CALL];

enum { PAGE = 4096, MAX_PAGE = 1024, CALL_SHMAT = 305, CALL_SHMDT = 306 }; // as Linux numbers them on ARM
static uint64_t s_qwAttached;                                              // where the shared memory is, or 0
static uint8_t s_abTouched[MAX_PAGE];
static uint64_t s_qwTouched;

static void Watch_Access(unsigned uCpu, uint32_t uInfo, uint64_t qwAddress, void *pUser)
{
    (void)uCpu, (void)uInfo, (void)pUser;
    const uint64_t qwPage = (qwAddress - s_qwAttached) / PAGE;
    if (s_qwAttached == 0 || qwAddress < s_qwAttached || qwPage >= MAX_PAGE || s_abTouched[qwPage])
        return;
    s_abTouched[qwPage] = 1;
    s_qwTouched++;
}

static void Watch_Return(PluginId qwId, unsigned uCpu, int64_t lNumber, int64_t lResult)
{
    (void)qwId, (void)uCpu;
    if (lNumber != CALL_SHMAT && lNumber != CALL_SHMDT)
        return;
    s_qwAttached = lNumber == CALL_SHMAT ? (uint32_t)lResult : 0;
    memset(s_abTouched, 0, sizeof s_abTouched);
}

static void Write_Block(unsigned uCpu, void *pBlock)
{
    (void)uCpu;
    fwrite(pBlock, 2 * sizeof(uint32_t), 1, s_pOrder);
}

static void Watch_Block(PluginId qwId, struct TranslatedBlock *ptBlock)
{
    (void)qwId;
    const size_t uInstructions = qemu_plugin_tb_n_insns(ptBlock);
    qemu_plugin_register_vcpu_tb_exec_inline(ptBlock, INLINE_ADD, &s_qwInstructions, uInstructions);
    for (size_t i = 0; i < uInstructions; i++)
        qemu_plugin_register_vcpu_mem_cb(qemu_plugin_tb_get_insn(ptBlock, i), Watch_Access, NO_REGISTERS,
                                         READS_AND_WRITES, NULL);
    if (s_pOrder == NULL)
        return;
    uint32_t *pdwBlock = malloc(2 * sizeof *pdwBlock); // as long as the emulator runs
    if (pdwBlock == NULL)
        abort();
    pdwBlock[0] = (uint32_t)qemu_plugin_tb_vaddr(ptBlock);
    pdwBlock[1] = (uint32_t)uInstructions;
    qemu_plugin_register_vcpu_tb_exec_cb(ptBlock, Write_Block, NO_REGISTERS, pdwBlock);
}

static void Count_Call(PluginId qwId, unsigned uCpu, int64_t lNumber, uint64_t a, uint64_t b, uint64_t c, uint64_t d,
                       uint64_t e, uint64_t f, uint64_t g, uint64_t h)
{
    (void)qwId, (void)uCpu, (void)a, (void)b, (void)c, (void)d, (void)e, (void)f, (void)g, (void)h;
    if (lNumber >= 0 && lNumber < MAX_CALL)
        s_aulCalls[lNumber]++;
}

static void Finish(PluginId qwId, void *pUser)
{
    (void)qwId, (void)pUser;
    if (s_pOrder != NULL)
        fclose(s_pOrder);
    if (s_pCounts == NULL)
        return;
    fprintf(s_pCounts, "instructions %llu\n", (unsigned long long)s_qwInstructions);
    for (int i = 0; i < MAX_CALL; i++)
        if (s_aulCalls[i] > 0)
            fprintf(s_pCounts, "call %d %llu\n", i, (unsigned long long)s_aulCalls[i]);
    fprintf(s_pCounts, "touched %llu\n", (unsigned long long)s_qwTouched);
    fclose(s_pCounts);
}

int qemu_plugin_install(PluginId qwId, const void *pInfo, int iCount, char *apszArgument[])
{
    (void)pInfo;
    for (int i = 0; i < iCount; i++) {
        const char *pcPath = strchr(apszArgument[i], '=');
        FILE **ppFile = apszArgument[i][0] == 'o' ? &s_pOrder : &s_pCounts;
        if (pcPath == NULL || (*ppFile = fopen(pcPath + 1, "w")) == NULL)
            return -1;
    }
    qemu_plugin_register_vcpu_tb_trans_cb(qwId, Watch_Block);
    qemu_plugin_register_vcpu_syscall_cb(qwId, Count_Call);
    qemu_plugin_register_vcpu_syscall_ret_cb(qwId, Watch_Return);
    qemu_plugin_register_atexit_cb(qwId, Finish, NULL);
    return 0;
}
