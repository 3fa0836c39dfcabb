#pragma once

#include "microsip/sim/entorno.h"
#include "microsip/sim/siembra.h"

#include <QString>
#include <QStringList>

namespace fb {
class Database;
}
namespace lar {
class Sesion;
}

namespace lartest {

struct OpcionesPrueba
{
    QStringList empresas{QStringLiteral("DEMO")};
    bool foliosConceptos = true;
    bool larSync = false;
    // Through the local test server (check serverAvailable() first); embedded otherwise.
    bool servidor = false;
    // The environment's folder under tempDir() (any characters); "entornoN" by default.
    QString carpeta;
    QList<microsip::Usuario> usuarios;
    // Demo data in every company, `siembra` sized: by default a small shop (30
    // customers, 60 articles with stock in 2 warehouses, 100 historical documents
    // over the 90 days up to today), seeded in well under a second.
    bool sembrado = false;
    microsip::OpcionesSiembra siembra = siembraChica();

    static microsip::OpcionesSiembra siembraChica()
    {
        microsip::OpcionesSiembra s;
        s.clientes = 30;
        s.articulos = 60;
        s.documentos = 100;
        s.almacenes = 2;
        s.cajeros = 2;
        s.vendedores = 2;
        s.empleados = 5;
        s.dias = 90;
        return s;
    }
};

// A fresh stand-in Microsip environment under tempDir(), for one suite: create it
// in initTestCase and connect sessions and databases to it. Creation takes well
// under a second (embedded, unseeded).
class EntornoPrueba
{
public:
    explicit EntornoPrueba(const OpcionesPrueba &opciones = {});

    const microsip::Entorno &entorno() const { return m_entorno; }
    const OpcionesPrueba &opciones() const { return m_opciones; }
    QString carpeta() const { return m_entorno.carpeta(); }
    QString rutaEmpresa(const QString &empresa = QStringLiteral("DEMO")) const
    {
        return m_entorno.rutaEmpresa(empresa);
    }

    // The parameters of every attachment of the program: "lc_ctype=None",
    // "user_name=...", "password=...", "sql_role_name=USUARIO_MICROSIP".
    // SYSDBA without a password gets the server's.
    QStringList parametros(const QString &usuario = QStringLiteral("SYSDBA"),
                           const QString &password = {}) const;

    // Connects the session's fbConfig, fbDatabase (the company) and fbMetadatos as
    // the program does after the login, and sets UsuarioActual.
    void conectaSesion(lar::Sesion &s,
                       const QString &empresa = QStringLiteral("DEMO"),
                       const QString &usuario = QStringLiteral("SYSDBA"),
                       const QString &password = {}) const;

    // One attachment to the company, configuration or metadata database.
    void conectaEmpresa(fb::Database &db,
                        const QString &empresa = QStringLiteral("DEMO"),
                        const QString &usuario = QStringLiteral("SYSDBA"),
                        const QString &password = {}) const;
    void conectaConfig(fb::Database &db,
                       const QString &usuario = QStringLiteral("SYSDBA"),
                       const QString &password = {}) const;
    void conectaMetadatos(fb::Database &db,
                          const QString &usuario = QStringLiteral("SYSDBA"),
                          const QString &password = {}) const;

    // Installs the extension's schema in a company by running its five scripts,
    // passing over what fails as the upgrade does.
    void instalaExtension(const QString &empresa = QStringLiteral("DEMO")) const;

private:
    OpcionesPrueba m_opciones;
    microsip::Entorno m_entorno;
};

} // namespace lartest
