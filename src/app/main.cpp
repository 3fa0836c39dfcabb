#include "app/modulos.h"
#include "core/fmain.h"
#include "db/dbscript.h"
#include "reports/funcionesreporte.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    // The title of the application in the task bar and its dialogs.
    QApplication::setApplicationName(QStringLiteral("Larvenos Punto de Venta"));
    lar::TfMain::FabricaActualizaDB() = [](lar::TfMain &m) -> QDialog * {
        return new lar::TfDBScript(m.sesion(), &m);
    };
    lar::RegistraModulos();
    lar::TfMain principal;
    lar::RegistraFuncionesReporte(principal.sesion());
    principal.show();
    const int r = QApplication::exec();
    lar::QuitaFuncionesReporte();
    return r;
}
