#pragma once

// The main of every suite. Qt Test aborts the whole run when a test function
// throws; here the exception fails that function alone and the run goes on.

#include <QApplication>
#include <QMetaObject>
#include <QTest>

#include <exception>

namespace lartest {

// Reports an exception escaping a test (or data) function as its failure.
void fallaPorExcepcion(std::exception_ptr e);

// The suite object seen through a copy of its meta-object whose dispatcher
// catches: Qt Test invokes test functions through the meta-object, so every
// call (test, data, init and cleanup functions) passes by Guarda::llama.
template<class Suite>
class Guarda : public Suite
{
public:
    using Suite::Suite;
    const QMetaObject *metaObject() const override { return &meta(); }

private:
    static const QMetaObject &meta()
    {
        static const QMetaObject m = [] {
            QMetaObject copia = Suite::staticMetaObject;
            copia.d.static_metacall = &llama;
            return copia;
        }();
        return m;
    }

    static void llama(QObject *o, QMetaObject::Call c, int id, void **a)
    {
        try {
            Suite::staticMetaObject.d.static_metacall(o, c, id, a);
        } catch (...) {
            fallaPorExcepcion(std::current_exception());
        }
    }
};

// Runs one suite with the arguments of the process, as QTest::qExec does.
template<class Suite>
int ejecuta(int argc, char **argv)
{
    Guarda<Suite> suite;
    return QTest::qExec(&suite, argc, argv);
}

} // namespace lartest

// QTEST_MAIN with a QApplication (the suites draw widgets offscreen)...
#define LAR_TEST_MAIN(Suite) \
    int main(int argc, char **argv) \
    { \
        QApplication app(argc, argv); \
        app.setAttribute(Qt::AA_Use96Dpi, true); \
        return lartest::ejecuta<Suite>(argc, argv); \
    }

// ... and without one, for suites that need no GUI.
#define LAR_TEST_GUILESS_MAIN(Suite) \
    int main(int argc, char **argv) \
    { \
        QCoreApplication app(argc, argv); \
        return lartest::ejecuta<Suite>(argc, argv); \
    }
