#pragma once

#include <vector>

/// A growable array: std::vector by the name that the profiler's interface has for it.
template <class TElement>
class CSTLList : public std::vector<TElement>
{
public:
    using std::vector<TElement>::vector;
};
