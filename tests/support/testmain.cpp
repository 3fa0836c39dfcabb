#include "testmain.h"

#include "fb/error.h"

namespace lartest {

void fallaPorExcepcion(std::exception_ptr e)
{
    QByteArray texto;
    try {
        std::rethrow_exception(e);
    } catch (const fb::Error &err) {
        texto = "fb::Error: " + err.message().toUtf8();
    } catch (const std::exception &err) {
        texto = QByteArray("excepción: ") + err.what();
    } catch (...) {
        texto = "excepción desconocida";
    }
    QTest::qFail(texto.constData(), __FILE__, __LINE__);
}

} // namespace lartest
