#include "ledger.h"

#include "fb/query.h"

namespace lar {

int SaldoCliente(int cliente, fb::Query &query)
{
    query.close();
    query.setSql(QString::fromLatin1(ledger::SqlSaldo));
    query.bind(QStringLiteral("cliente"), cliente);
    query.open();
    const int saldo = query.eof() ? 0 : query.field(0).toInt();
    query.close();
    return saldo;
}

} // namespace lar
