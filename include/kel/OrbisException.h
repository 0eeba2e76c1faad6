/// @file OrbisException.h
/// The library's exception type: an error code whose handling tells the user in
/// a message box.
///
/// @code
///   try {
///       if (!profile.isValid())
///           throw OrbisException(310);
///   } catch (OrbisException& e) {
///       e.handleMe();   // the box with prompt ("GUI", 310)
///   }
/// @endcode
///
/// The library itself never throws it: it is for the application's own use.

#ifndef KEL_ORBISEXCEPTION_H
#define KEL_ORBISEXCEPTION_H

#include <kel/KelExport.h>

/// @copydoc OrbisException.h
class KEL_API OrbisException {
public:
    /// The code that is silent when handled.
    static constexpr int kSilentCode = 199;

    /// No code set: the code is 0.
    OrbisException();
    /// Carries `code`.
    OrbisException(int code);
    /// Copies the code.
    OrbisException(const OrbisException& other);
    /// @copydoc OrbisException(const OrbisException&)
    OrbisException& operator=(const OrbisException& other);
    /// Nothing to release.
    virtual ~OrbisException();

    /// Code 199: nothing. Any other code: KelMessage::messageBox(code), the
    /// prompt ("GUI", code) in a box with the information icon, brought to
    /// the foreground and topmost, owned by the application's main window;
    /// like every prompt-based box it stays silent while a property sheet is
    /// open or no prompt function is set.
    virtual void handleMe();

    /// The code the exception carries.
    int getErrorCode() const;

protected:
    /// The code given to the constructor (0 for the default one).
    int m_iErrorCode;
};

#endif  // KEL_ORBISEXCEPTION_H
