#pragma once

// Shows: assertions (Common/Debug/Log.h).
// Why: the rules of a game belong to the game, not to the library. These use whole numbers only, so that the same seed
// and the same keys give the same flight on every machine.

#include "Level.h"

constexpr int TICKS_A_SECOND = 60;

/// Random numbers for what needs no good ones: the next after nState, which is never 0.
inline std::uint32_t NextRandom(std::uint32_t nState)
{
    nState ^= nState << 13;
    nState ^= nState >> 17;
    return nState ^ nState << 5;
}

// How a flight stands.
constexpr std::int32_t FLIGHT_FLYING = 0, FLIGHT_LANDED = 1, FLIGHT_CRASHED = 2;

/// What is saved of a flight. Places are parts of a metre, speeds parts of a metre a tick.
struct sFlight
{
    std::int32_t m_nLevel = 0;
    std::int32_t m_nX = 0, m_nY = 0;
    std::int32_t m_nSpeedX = 0, m_nSpeedY = 0;
    std::int32_t m_nTilt = 0;     ///< -MOST_TILT (left) to MOST_TILT, steps of 15 degrees
    std::int32_t m_nThrottle = 0; ///< 0 to MOST_THROTTLE
    std::int32_t m_nFuel = 0;
    std::int32_t m_nState = FLIGHT_FLYING;
    std::int32_t m_nGravity = 0, m_nGust = 0; ///< millimetres per second, each second
    std::int32_t m_nTick = 0;
    std::int32_t m_nScore = 0; ///< of all flights of the round
    std::int32_t m_nRandom = 1;

    bool operator==(const sFlight&) const = default;
};

class CGame
{
public:
    static constexpr std::int32_t MOST_TILT = 3;
    static constexpr std::int32_t MOST_THROTTLE = 4;

    /// Begins a flight over a level, which must live as long; the score goes on.
    void Start(const sLevel* pLevel, std::int32_t nLevel, std::int32_t nSeed)
    {
        VQ_ASSERT(pLevel != nullptr, "a flight needs a level");
        Resume(pLevel, {.m_nLevel = nLevel,
                        .m_nX = pLevel->m_nX * METRE,
                        .m_nY = pLevel->m_nY * METRE,
                        .m_nSpeedX = pLevel->m_nSpeedX * METRE / TICKS_A_SECOND,
                        .m_nSpeedY = pLevel->m_nSpeedY * METRE / TICKS_A_SECOND,
                        .m_nFuel = pLevel->m_nFuel,
                        .m_nGravity = pLevel->m_nGravity,
                        .m_nScore = m_oFlight.m_nScore,
                        .m_nRandom = nSeed});
    }

    /// Goes on with a flight over a level.
    void Resume(const sLevel* pLevel, const sFlight& oFlight) { m_pLevel = pLevel, m_oFlight = oFlight; }

    void Tilt(std::int32_t nSteps) { Turn(m_oFlight.m_nTilt, nSteps, -MOST_TILT, MOST_TILT); }

    void Throttle(std::int32_t nSteps) { Turn(m_oFlight.m_nThrottle, nSteps, 0, MOST_THROTTLE); }

    /// A sixtieth of a second.
    void Tick()
    {
        sFlight& o = m_oFlight;
        ++o.m_nTick;
        if (o.m_nState != FLIGHT_FLYING)
            return;

        o.m_nThrottle = std::min(o.m_nThrottle, o.m_nFuel);
        o.m_nFuel -= o.m_nThrottle;
        if (o.m_nTick % TICKS_A_SECOND == 0)
        {
            const std::uint32_t nRandom = NextRandom(static_cast<std::uint32_t>(o.m_nRandom));
            o.m_nRandom = static_cast<std::int32_t>(nRandom);
            o.m_nGust = static_cast<std::int32_t>(nRandom % (2 * MOST_GUST + 1)) - MOST_GUST;
        }

        const std::int32_t nThrust = PerTick(o.m_nThrottle * THRUST);
        const std::int32_t nSide = o.m_nTilt < 0 ? -SINE[-o.m_nTilt] : SINE[o.m_nTilt];
        o.m_nSpeedX += nThrust * nSide / ONE + PerTick(m_pLevel->m_nWind + o.m_nGust);
        o.m_nSpeedY += nThrust * COSINE[std::abs(o.m_nTilt)] / ONE - PerTick(o.m_nGravity);
        o.m_nX = std::clamp(o.m_nX + o.m_nSpeedX, FOOT, WORLD_WIDTH * METRE - FOOT);
        o.m_nY = std::min(o.m_nY + o.m_nSpeedY, WORLD_HEIGHT * METRE);
        if (o.m_nY == WORLD_HEIGHT * METRE)
            o.m_nSpeedY = std::min(o.m_nSpeedY, 0);
        if (o.m_nX == FOOT || o.m_nX == WORLD_WIDTH * METRE - FOOT)
            o.m_nSpeedX = 0;

        for (const std::int32_t nFoot : {-FOOT, 0, FOOT})
        {
            if (o.m_nState == FLIGHT_FLYING && o.m_nY <= m_pLevel->GetGround(o.m_nX + nFoot))
                TouchDown();
        }
    }

    /// Does what a careful pilot would do now.
    void SteerByItself()
    {
        constexpr std::int32_t SPEED = METRE / TICKS_A_SECOND / 10; // a tenth of a metre per second, as below
        const sFlight& o = m_oFlight;
        const std::int32_t nPad = (m_pLevel->m_nPadFrom + m_pLevel->m_nPadTo) / 2 * METRE;
        const std::int32_t nWay = (nPad - o.m_nX) / METRE;
        const bool bOver = std::abs(nWay) <= (m_pLevel->m_nPadTo - m_pLevel->m_nPadFrom) / 4;

        std::int32_t nGround = m_pLevel->GetGround(nPad); // the highest on the way
        for (std::int32_t nStep = 0; nStep <= 16 && !bOver; ++nStep)
            nGround = std::max(nGround, m_pLevel->GetGround(o.m_nX + nWay * METRE / 16 * nStep));
        const std::int32_t nAbove = (o.m_nY - nGround) / METRE;

        const std::int32_t nSide = std::clamp(nWay * 10 / 7, -150, 150) - o.m_nSpeedX / SPEED;
        const std::int32_t nFall = bOver ? -(12 + nAbove * 2) : (30 - nAbove) * 3;
        const std::int32_t nLift = std::clamp(nFall, -120, 60) - o.m_nSpeedY / SPEED;
        const std::int32_t nTilt = bOver && nAbove < 12 ? 0 : std::clamp(nSide / 10, -2, 2);
        Tilt(std::clamp(nTilt - o.m_nTilt, -1, 1));
        const std::int32_t nLeast = o.m_nTilt != 0 && nLift > -40 ? 1 : 0; // a tilted ship needs thrust to move
        Throttle(std::max((o.m_nGravity + nLift * 120 + THRUST / 2) / THRUST, nLeast) - o.m_nThrottle);
    }

    /// Adds the state to a sum over a whole game, by which two runs are compared.
    std::uint64_t AddTo(std::uint64_t nSum) const
    {
        constexpr std::uint64_t PRIME = 1099511628211ULL; // of the FNV-1a hash
        const sFlight& o = m_oFlight;
        for (const std::int32_t nValue :
             {o.m_nX, o.m_nY, o.m_nSpeedX, o.m_nSpeedY, o.m_nTilt, o.m_nThrottle, o.m_nFuel, o.m_nState, o.m_nScore})
            nSum = (nSum ^ static_cast<std::uint32_t>(nValue)) * PRIME;
        return nSum;
    }

    const sFlight& GetFlight() const { return m_oFlight; }

    const sLevel& GetLevel() const { return *m_pLevel; }

    std::int32_t& Gravity() { return m_oFlight.m_nGravity; }

    bool& Unbreakable() { return m_bUnbreakable; }

private:
    // 1024 times the sine and cosine of 0, 15, 30 and 45 degrees
    static constexpr std::int32_t SINE[] = {0, 265, 512, 724};
    static constexpr std::int32_t COSINE[] = {1024, 989, 887, 724};
    static constexpr std::int32_t ONE = 1024;

    static constexpr std::int32_t MOST_GUST = 100;
    static constexpr std::int32_t THRUST = 1300; // of a step of the throttle, millimetres per second, each second
    static constexpr std::int32_t FOOT = 6 * METRE;
    static constexpr std::int32_t GENTLE = 3 * METRE / TICKS_A_SECOND; // the fastest that the legs bear

    void Turn(std::int32_t& nLever, std::int32_t nSteps, std::int32_t nLeast, std::int32_t nMost) const
    {
        if (m_oFlight.m_nState == FLIGHT_FLYING)
            nLever = std::clamp(nLever + nSteps, nLeast, nMost);
    }

    // millimetres per second, each second, to parts of a metre a tick, each tick
    static std::int32_t PerTick(std::int32_t nAcceleration)
    {
        return static_cast<std::int32_t>(std::int64_t{nAcceleration} * METRE /
                                         (1000 * TICKS_A_SECOND * TICKS_A_SECOND));
    }

    void TouchDown()
    {
        sFlight& o = m_oFlight;
        const bool bOnPad =
            o.m_nX - FOOT >= m_pLevel->m_nPadFrom * METRE && o.m_nX + FOOT <= m_pLevel->m_nPadTo * METRE;
        const bool bGentle = -o.m_nSpeedY <= GENTLE && std::abs(o.m_nSpeedX) <= GENTLE && o.m_nTilt == 0;
        if (m_bUnbreakable && !(bOnPad && bGentle))
        {
            o.m_nY = m_pLevel->GetGround(o.m_nX) + METRE;
            o.m_nSpeedY = std::abs(o.m_nSpeedY) / 2;
            return;
        }
        o.m_nState = bOnPad && bGentle ? FLIGHT_LANDED : FLIGHT_CRASHED;
        o.m_nScore += o.m_nState == FLIGHT_LANDED ? m_pLevel->m_nBonus * 100 + o.m_nFuel / 10 : 0;
        o.m_nSpeedX = o.m_nSpeedY = o.m_nThrottle = 0;
    }

    const sLevel* m_pLevel = nullptr;
    sFlight m_oFlight;
    bool m_bUnbreakable = false;
};
