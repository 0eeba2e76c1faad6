// A private X server for the tests that show real windows, and the X tools
// that look at and answer those windows from outside, as a user would.
//
// The test program starts Xvfb itself on a free display number (Xvfb picks
// it with -displayfd), points DISPLAY at it and stops it at the end, so a
// plain "ctest" runs these tests on any machine with Xvfb, desktop or not:
//
//   kel::test::VirtualDisplay display;
//   if (!display.start(reason)) GTEST_SKIP() << reason;
//   std::thread answer([] { kel::test::pressKeys("^Gantrix$", {"Return"}); });
//   EXPECT_EQ(IDYES, kel::detail::showMessageBox(...));

#ifndef KEL_TESTS_PROCESS_VIRTUAL_DISPLAY_H
#define KEL_TESTS_PROCESS_VIRTUAL_DISPLAY_H

#include <string>
#include <vector>

namespace kel::test {

class VirtualDisplay {
public:
    VirtualDisplay() = default;
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    // Starts Xvfb (a 1024 x 768 screen, no TCP) and sets DISPLAY to it.
    // False with `reason` set when Xvfb is not installed or did not start.
    bool start(std::string& reason);

    // Stops the server; DISPLAY is unset.
    void stop();

    // ":<n>", empty while not running.
    const std::string& name() const { return m_name; }

private:
    int m_pid = -1;
    std::string m_name;
};

// True when `program` is found on PATH.
bool haveProgram(const std::string& program);

// Runs a program (found on PATH) and waits for it; its standard output in
// `out` when not null, its standard error discarded. The exit status, or -1
// when it could not run.
int run(const std::vector<std::string>& command, std::string* out = nullptr);

// The id of the first visible window whose name matches the regular
// expression `name`, waiting up to `seconds` for one to appear; 0 when none
// did.
unsigned long findWindow(const std::string& name, double seconds = 10.0);

// Whether a visible window named like `name` exists right now.
bool windowVisible(const std::string& name);

// Finds the window named like `name`, gives it the keyboard focus and types
// `keys` (xdotool key names: "Return", "Escape", "alt+n") one after the
// other. False when the window did not appear within `seconds`.
bool pressKeys(const std::string& name, const std::vector<std::string>& keys,
               double seconds = 20.0);

// Saves the window `id` as a PNG image at `path` (ImageMagick's import).
bool screenshot(unsigned long id, const std::string& path);

// The colour of one pixel of a PNG image, as ImageMagick prints it
// ("srgb(53,132,228)"); empty when it cannot be read.
std::string pixel(const std::string& path, int x, int y);

}  // namespace kel::test

#endif  // KEL_TESTS_PROCESS_VIRTUAL_DISPLAY_H
