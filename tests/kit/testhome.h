// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

/// A home, settings, data and working folder of the test's own, so that nothing of the user's is
/// touched and tests run side by side. Made before the application object, removed with the test.
class TestHome
{
public:
    TestHome();
    ~TestHome();
    Q_DISABLE_COPY(TestHome)

    /// Gives this process a home, settings, data and cache folder under @p root, which must be an
    /// absolute path. To be called before the application object is made.
    static void useFolders(const QString &root);

private:
    QTemporaryDir m_folder;
};
