// A library that does at its loading everything that ours must not do: the test of it is tested with this one.

#include <chrono>
#include <cstdio>
#include <thread>

namespace
{
struct Noise
{
    Noise()
    {
        std::thread([] { std::this_thread::sleep_for(std::chrono::hours(1)); }).detach();
        m_pFile = std::tmpfile();
        std::puts("noise");
    }

    std::FILE* m_pFile = nullptr;
} g_oNoise;
} // namespace
