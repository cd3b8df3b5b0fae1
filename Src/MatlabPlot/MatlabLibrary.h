#pragma once

#include <exception>
#include <memory>
#include <string>

/**
 * The two operations of the plot library, over whatever engine this platform has for them.
 *
 * The engine belongs to the thread that initialises it and goes when that thread ends. Both operations block; they end
 * early when the thread's interruption is requested and the engine does not answer.
 */
namespace matlab
{

/** A failure inside the library, with the engine's message. */
class mwException : public std::exception
{
public:
    /** @param message the engine's words, in UTF-8 */
    explicit mwException(std::string message)
        : m_message(std::move(message))
    {
    }

    /** The engine's words, in UTF-8. */
    const char *what() const noexcept override { return m_message.c_str(); }

private:
    std::string m_message;
};

/** A scalar 32-bit integer of the engine. Throws mwException when the engine cannot make it. */
class mwArray
{
public:
    /** Implicit, as the library's own: a row of numbers is a row of arguments. */
    mwArray(int value); // NOLINT(google-explicit-constructor)
    ~mwArray();
    mwArray(const mwArray &) = delete;
    mwArray &operator=(const mwArray &) = delete;

    /** What a realisation keeps of it. */
    struct Content;
    /** For the realisation. */
    const Content &content() const { return *m_content; }

private:
    std::unique_ptr<Content> m_content;
};

/**
 * Brings the library up, which takes seconds.
 *
 * @param givenUp set to true when it ended because the thread's interruption was requested, which is no failure of the
 *                library; else left alone
 * @return true only when the engine answered. Does not throw.
 */
bool myMatlabPlotInitialize(bool &givenUp);

/**
 * Draws one plot from the track files beside the executable, in a window that stays. Throws mwException.
 *
 * @param kind   0 the track from above, 1 the height, 2 the track in space
 * @param attack 0 the whole flight, 1 its last leg; the other six are constants without a known meaning
 */
void myMatlabPlot(const mwArray &first, const mwArray &second, const mwArray &third, const mwArray &kind,
                  const mwArray &fifth, const mwArray &sixth, const mwArray &seventh, const mwArray &attack);

} // namespace matlab
