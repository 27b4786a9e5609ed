#if defined(_WIN32)

#    include <tests/support/Terminal.h>

struct CTerminalChild::Implementation
{
};

CTerminalChild::CTerminalChild(const std::vector<std::string>&, ePlace) {}

CTerminalChild::~CTerminalChild() = default;

bool CTerminalChild::WaitFor(const std::string&)
{
    return false;
}

void CTerminalChild::Type(const std::string&) {}

ChildResult CTerminalChild::Wait()
{
    return ChildResult();
}

void CTerminalChild::SetSize(int, int) {}

void CTerminalChild::Signal(int) {}

void CTerminalChild::Close() {}

bool CTerminalChild::IsAsItWas() const
{
    return false;
}

bool HasTerminals()
{
    return false;
}

#endif
