#pragma once

#include <exception>
#include <memory>
#include <string>

/**
 * The two functions of the plot library, implemented with the engine of this platform.
 *
 * The engine belongs to the thread that initialises it and is released when that thread ends. Both functions block;
 * they return early when the thread's interruption is requested and the engine does not answer.
 */
namespace matlab
{

/** An error in the library, with the engine's message. */
class mwException : public std::exception
{
public:
    /** @param message the engine's message, in UTF-8 */
    explicit mwException(std::string message)
        : m_message(std::move(message))
    {
    }

    /** The engine's message, in UTF-8. */
    const char *what() const noexcept override { return m_message.c_str(); }

private:
    std::string m_message;
};

/** A scalar 32-bit integer of the engine. The constructor throws mwException on failure. */
class mwArray
{
public:
    /** Implicit like the library's own class, so that numbers can be passed as arguments. */
    mwArray(int value); // NOLINT(google-explicit-constructor)
    ~mwArray();
    mwArray(const mwArray &) = delete;
    mwArray &operator=(const mwArray &) = delete;

    /** Defined by each implementation. */
    struct Content;
    /** For the implementation. */
    const Content &content() const { return *m_content; }

private:
    std::unique_ptr<Content> m_content;
};

/**
 * Initialises the library; takes seconds.
 *
 * @param interrupted set to true when the call ended because the thread's interruption was requested, which is not an
 *                    error of the library; otherwise not changed
 * @return true only when the engine answered. Does not throw.
 */
bool myMatlabPlotInitialize(bool &interrupted);

/**
 * Draws one plot of the track files beside the executable, in a window that remains open. Throws mwException.
 *
 * @param kind   0: track from above, 1: height, 2: track in 3D
 * @param attack 0: whole flight, 1: last leg. The meaning of the other six arguments is unknown; they are constants
 */
void myMatlabPlot(const mwArray &first, const mwArray &second, const mwArray &third, const mwArray &kind,
                  const mwArray &fifth, const mwArray &sixth, const mwArray &seventh, const mwArray &attack);

} // namespace matlab
