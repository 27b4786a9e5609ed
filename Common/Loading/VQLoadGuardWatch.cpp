#include <Common/Loading/VQLoadGuardWatch.h>

IVQLoadGuardWatch::~IVQLoadGuardWatch() = default;
