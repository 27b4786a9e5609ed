#pragma once

/// Reaches a private member function of a class, for what no public operation shows. The explicit instantiation of a
/// template may name it:
///
///     struct sOpen
///     {
///         using Type = void (CVault::*)(bool);
///         friend Type GetPrivate(sOpen);
///     };
///     template struct RevealPrivate<sOpen, &CVault::Open>;
///
///     (oVault.*GetPrivate(sOpen()))(true);
template <class TTag, typename TTag::Type TMember>
struct RevealPrivate
{
    friend typename TTag::Type GetPrivate(TTag) { return TMember; }
};
