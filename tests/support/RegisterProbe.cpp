#include <tests/support/RegisterProbe.h>

#include <array>
#include <cstddef>
#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)

namespace
{
#    if defined(__x86_64__)
constexpr std::array GENERAL = {"rax", "rcx", "rdx", "rsi", "rdi", "r8", "r9", "r10", "r11"};
constexpr std::size_t VECTORS = 16;
#    else
constexpr std::array GENERAL = {"eax", "ecx", "edx"};
constexpr std::size_t VECTORS = 8;
#    endif

struct sRegisters
{
    std::array<std::uintptr_t, GENERAL.size()> aGeneral;
    std::uintptr_t nStack = 0;    // where the stack was
    std::uintptr_t nArgument = 0; // what the function gets where arguments go by the stack
    std::array<std::array<unsigned char, 16>, VECTORS> aVectors;
};

#    if defined(__x86_64__)
static_assert(offsetof(sRegisters, nStack) == 72 && offsetof(sRegisters, aVectors) == 88);
#    else
static_assert(offsetof(sRegisters, nStack) == 12 && offsetof(sRegisters, nArgument) == 16 &&
              offsetof(sRegisters, aVectors) == 20);
#    endif

// Loads all registers from oBefore, calls, and stores them into oAfter.
void CallWith(void (*pFunction)(), sRegisters& oBefore, sRegisters& oAfter)
{
    sRegisters* pBefore = &oBefore;
    sRegisters* pAfter = &oAfter;
#    if defined(__x86_64__)
    __asm__ volatile("movq %%rsi, %%r13\n\t"
                     "movq %%rdi, %%r14\n\t"
                     "movq %%rsp, 72(%%r14)\n\t"
                     "subq $256, %%rsp\n\t" // past what the compiler keeps below the stack
                     "andq $-64, %%rsp\n\t"
                     "movdqu 88(%%r13), %%xmm0\n\t"
                     "movdqu 104(%%r13), %%xmm1\n\t"
                     "movdqu 120(%%r13), %%xmm2\n\t"
                     "movdqu 136(%%r13), %%xmm3\n\t"
                     "movdqu 152(%%r13), %%xmm4\n\t"
                     "movdqu 168(%%r13), %%xmm5\n\t"
                     "movdqu 184(%%r13), %%xmm6\n\t"
                     "movdqu 200(%%r13), %%xmm7\n\t"
                     "movdqu 216(%%r13), %%xmm8\n\t"
                     "movdqu 232(%%r13), %%xmm9\n\t"
                     "movdqu 248(%%r13), %%xmm10\n\t"
                     "movdqu 264(%%r13), %%xmm11\n\t"
                     "movdqu 280(%%r13), %%xmm12\n\t"
                     "movdqu 296(%%r13), %%xmm13\n\t"
                     "movdqu 312(%%r13), %%xmm14\n\t"
                     "movdqu 328(%%r13), %%xmm15\n\t"
                     "movq 0(%%r13), %%rax\n\t"
                     "movq 8(%%r13), %%rcx\n\t"
                     "movq 16(%%r13), %%rdx\n\t"
                     "movq 24(%%r13), %%rsi\n\t"
                     "movq 32(%%r13), %%rdi\n\t"
                     "movq 40(%%r13), %%r8\n\t"
                     "movq 48(%%r13), %%r9\n\t"
                     "movq 56(%%r13), %%r10\n\t"
                     "movq 64(%%r13), %%r11\n\t"
                     "callq *%%rbx\n\t"
                     "movq %%rax, 0(%%r14)\n\t"
                     "movq %%rcx, 8(%%r14)\n\t"
                     "movq %%rdx, 16(%%r14)\n\t"
                     "movq %%rsi, 24(%%r14)\n\t"
                     "movq %%rdi, 32(%%r14)\n\t"
                     "movq %%r8, 40(%%r14)\n\t"
                     "movq %%r9, 48(%%r14)\n\t"
                     "movq %%r10, 56(%%r14)\n\t"
                     "movq %%r11, 64(%%r14)\n\t"
                     "movdqu %%xmm0, 88(%%r14)\n\t"
                     "movdqu %%xmm1, 104(%%r14)\n\t"
                     "movdqu %%xmm2, 120(%%r14)\n\t"
                     "movdqu %%xmm3, 136(%%r14)\n\t"
                     "movdqu %%xmm4, 152(%%r14)\n\t"
                     "movdqu %%xmm5, 168(%%r14)\n\t"
                     "movdqu %%xmm6, 184(%%r14)\n\t"
                     "movdqu %%xmm7, 200(%%r14)\n\t"
                     "movdqu %%xmm8, 216(%%r14)\n\t"
                     "movdqu %%xmm9, 232(%%r14)\n\t"
                     "movdqu %%xmm10, 248(%%r14)\n\t"
                     "movdqu %%xmm11, 264(%%r14)\n\t"
                     "movdqu %%xmm12, 280(%%r14)\n\t"
                     "movdqu %%xmm13, 296(%%r14)\n\t"
                     "movdqu %%xmm14, 312(%%r14)\n\t"
                     "movdqu %%xmm15, 328(%%r14)\n\t"
                     "movq 72(%%r14), %%rsp\n\t"
                     : "+S"(pBefore), "+D"(pAfter)
                     : "b"(pFunction)
                     : "rax", "rcx", "rdx", "r8", "r9", "r10", "r11", "r13", "r14", "xmm0", "xmm1", "xmm2", "xmm3",
                       "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14",
                       "xmm15", "memory", "cc");
#    else
    __asm__ volatile("movl %%esp, 12(%%edi)\n\t"
                     "subl $256, %%esp\n\t"
                     "andl $-64, %%esp\n\t"
                     "movl 16(%%esi), %%eax\n\t"
                     "movl %%eax, (%%esp)\n\t"
                     "movdqu 20(%%esi), %%xmm0\n\t"
                     "movdqu 36(%%esi), %%xmm1\n\t"
                     "movdqu 52(%%esi), %%xmm2\n\t"
                     "movdqu 68(%%esi), %%xmm3\n\t"
                     "movdqu 84(%%esi), %%xmm4\n\t"
                     "movdqu 100(%%esi), %%xmm5\n\t"
                     "movdqu 116(%%esi), %%xmm6\n\t"
                     "movdqu 132(%%esi), %%xmm7\n\t"
                     "movl 0(%%esi), %%eax\n\t"
                     "movl 4(%%esi), %%ecx\n\t"
                     "movl 8(%%esi), %%edx\n\t"
                     "call *%%ebx\n\t"
                     "movl %%eax, 0(%%edi)\n\t"
                     "movl %%ecx, 4(%%edi)\n\t"
                     "movl %%edx, 8(%%edi)\n\t"
                     "movdqu %%xmm0, 20(%%edi)\n\t"
                     "movdqu %%xmm1, 36(%%edi)\n\t"
                     "movdqu %%xmm2, 52(%%edi)\n\t"
                     "movdqu %%xmm3, 68(%%edi)\n\t"
                     "movdqu %%xmm4, 84(%%edi)\n\t"
                     "movdqu %%xmm5, 100(%%edi)\n\t"
                     "movdqu %%xmm6, 116(%%edi)\n\t"
                     "movdqu %%xmm7, 132(%%edi)\n\t"
                     "movl 12(%%edi), %%esp\n\t"
                     : "+S"(pBefore), "+D"(pAfter)
                     : "b"(pFunction)
                     : "eax", "ecx", "edx", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "memory",
                       "cc");
#    endif
}
} // namespace

std::string FindChangedRegisters(void (*pFunction)(), const void* pArgument)
{
    sRegisters oBefore = {};
    sRegisters oAfter = {};
    for (std::size_t i = 0; i < GENERAL.size(); ++i)
        oBefore.aGeneral[i] = 0xA5A50000 + i;
    for (std::size_t i = 0; i < VECTORS; ++i)
        oBefore.aVectors[i].fill(static_cast<unsigned char>(0xC0 + i));
    oBefore.nArgument = reinterpret_cast<std::uintptr_t>(pArgument);
#    if defined(_WIN64)
    oBefore.aGeneral[1] = oBefore.nArgument;
#    elif defined(__x86_64__)
    oBefore.aGeneral[4] = oBefore.nArgument;
#    endif

    CallWith(pFunction, oBefore, oAfter);

    std::string sChanged;
    for (std::size_t i = 0; i < GENERAL.size(); ++i)
    {
        if (oAfter.aGeneral[i] != oBefore.aGeneral[i])
            sChanged += std::string(sChanged.empty() ? "" : " ") + GENERAL[i];
    }
    for (std::size_t i = 0; i < VECTORS; ++i)
    {
        if (oAfter.aVectors[i] != oBefore.aVectors[i])
            sChanged += std::string(sChanged.empty() ? "" : " ") + "xmm" + std::to_string(i);
    }
    return sChanged;
}

#else

std::string FindChangedRegisters(void (*)(), const void*)
{
    return "?";
}

#endif
