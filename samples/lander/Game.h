#pragma once

// Shows: assertions (Common/Debug/Log.h).
// Why: the rules of a game belong to the game, not to the library. These use whole numbers only, so that the same seed
// and the same keys give the same flight on every machine.

#include "Level.h"

constexpr int TICKS_A_SECOND = 60;

// Channels of the timer. The first one stands still in a pause.
constexpr int GAME_TIME = 0, REAL_TIME = 1;

/// Random numbers for what needs no good ones: the next after nState, which is never 0.
inline std::uint32_t NextRandom(std::uint32_t nState)
{
    nState ^= nState << 13;
    nState ^= nState >> 17;
    return nState ^ nState << 5;
}

// How a flight stands.
constexpr std::int32_t FLIGHT_FLYING = 0, FLIGHT_LANDED = 1, FLIGHT_CRASHED = 2;

/// What is saved of a flight, in this order. Places are parts of a metre, speeds parts of a metre a tick.
struct sFlight
{
    std::int32_t m_nLevel = 0, m_nX = 0, m_nY = 0, m_nSpeedX = 0, m_nSpeedY = 0;
    std::int32_t m_nTilt = 0; ///< -MOST_TILT (left) to MOST_TILT, steps of 15 degrees
    std::int32_t m_nFuel = 0, m_nState = FLIGHT_FLYING, m_nGravity = 0, m_nTick = 0, m_nRandom = 1;
    std::int32_t m_nThrottle = 0, m_nGust = 0; ///< 0 to MOST_THROTTLE; -MOST_GUST to MOST_GUST
    std::int32_t m_nScore = 0;                 ///< of all flights of the round

    bool operator==(const sFlight&) const = default;
};

class CGame
{
public:
    static constexpr std::int32_t MOST_TILT = 3, MOST_THROTTLE = 4, MOST_GUST = 100;

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
                        .m_nRandom = nSeed,
                        .m_nScore = m_oFlight.m_nScore});
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

        const std::int32_t nThrust = PerTick(std::int64_t{o.m_nThrottle} * THRUST);
        o.m_nSpeedX += nThrust * SINE[o.m_nTilt + MOST_TILT] / ONE + PerTick(m_pLevel->m_nWind + o.m_nGust);
        o.m_nSpeedY += nThrust * COSINE[o.m_nTilt + MOST_TILT] / ONE - PerTick(o.m_nGravity);
        o.m_nX = std::clamp(o.m_nX + o.m_nSpeedX, FOOT, WORLD_RIGHT - FOOT);
        o.m_nY = std::min(o.m_nY + o.m_nSpeedY, WORLD_TOP);
        o.m_nSpeedX = o.m_nX == FOOT || o.m_nX == WORLD_RIGHT - FOOT ? 0 : o.m_nSpeedX;
        o.m_nSpeedY = o.m_nY == WORLD_TOP ? std::min(o.m_nSpeedY, 0) : o.m_nSpeedY;

        const std::int32_t nFeet = std::max(m_pLevel->GetGround(o.m_nX - FOOT), m_pLevel->GetGround(o.m_nX + FOOT));
        if (o.m_nY > std::max(nFeet, m_pLevel->GetGround(o.m_nX)))
            return;

        const bool bOnPad =
            o.m_nX - FOOT >= m_pLevel->m_nPadFrom * METRE && o.m_nX + FOOT <= m_pLevel->m_nPadTo * METRE;
        const bool bGentle = -o.m_nSpeedY <= GENTLE && std::abs(o.m_nSpeedX) <= GENTLE && o.m_nTilt == 0;
        o.m_nState = bOnPad && bGentle ? FLIGHT_LANDED : FLIGHT_CRASHED;
        o.m_nScore += o.m_nState == FLIGHT_LANDED ? m_pLevel->m_nBonus * 100 + o.m_nFuel / 10 : 0;
        o.m_nSpeedX = o.m_nSpeedY = o.m_nThrottle = 0;
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
        const std::int32_t nFall = std::clamp(bOver ? -(12 + nAbove * 2) : (30 - nAbove) * 3, -120, 60);
        const std::int32_t nLift = nFall - o.m_nSpeedY / SPEED;
        const std::int32_t nTilt = bOver && nAbove < 12 ? 0 : std::clamp(nSide / 10, -2, 2);
        Tilt(std::clamp(nTilt - o.m_nTilt, -1, 1));
        const std::int32_t nLeast = o.m_nTilt != 0 && nLift > -40 ? 1 : 0; // a tilted ship needs thrust to move
        Throttle(std::max((o.m_nGravity + nLift * 120 + THRUST / 2) / THRUST, nLeast) - o.m_nThrottle);
    }

    /// Adds the state to a sum over a whole game, by which two runs are compared.
    std::uint64_t AddTo(std::uint64_t nSum) const
    {
        const sFlight& o = m_oFlight;
        for (const std::int32_t nValue :
             {o.m_nX, o.m_nY, o.m_nSpeedX, o.m_nSpeedY, o.m_nTilt, o.m_nThrottle, o.m_nFuel, o.m_nState, o.m_nScore})
            nSum = (nSum ^ static_cast<std::uint32_t>(nValue)) * 1099511628211ULL; // the prime of the FNV-1a hash
        return nSum;
    }

    const sFlight& GetFlight() const { return m_oFlight; }

    const sLevel& GetLevel() const { return *m_pLevel; }

    std::int32_t& Gravity() { return m_oFlight.m_nGravity; }

private:
    // 1024 times the sine and cosine of -45 to 45 degrees
    static constexpr std::int32_t SINE[] = {-724, -512, -265, 0, 265, 512, 724};
    static constexpr std::int32_t COSINE[] = {724, 887, 989, 1024, 989, 887, 724}, ONE = 1024;

    static constexpr std::int32_t THRUST = 1300; // of a step of the throttle, millimetres per second, each second
    static constexpr std::int32_t FOOT = 6 * METRE, GENTLE = 3 * METRE / TICKS_A_SECOND; // what the legs bear

    void Turn(std::int32_t& nLever, std::int32_t nSteps, std::int32_t nLeast, std::int32_t nMost) const
    {
        if (m_oFlight.m_nState == FLIGHT_FLYING)
            nLever = std::clamp(nLever + nSteps, nLeast, nMost);
    }

    // Millimetres per second, each second, to parts of a metre a tick, each tick, of which there are 60 * 60 * 1000.
    static std::int32_t PerTick(std::int64_t n) { return static_cast<std::int32_t>(n * METRE / 3600000); }

    const sLevel* m_pLevel = nullptr;
    sFlight m_oFlight;
};
