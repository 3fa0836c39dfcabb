/* Puntos Larvenos: indexes of the extension tables */

CREATE UNIQUE INDEX LAR_REGISTRO_K1 ON LAR_REGISTRO (PADRE_ID, NOMBRE);

CREATE INDEX LAR_PUNTOS_IDX1 ON LAR_PUNTOS (CLIENTE_ID);
CREATE INDEX LAR_PUNTOS_IDX2 ON LAR_PUNTOS (DOCTO_ID);

COMMIT WORK;

/* Folio lookups of the accrual triggers: the deletion of a document's earlier
   rows, the deletion of a cancelled return, the search for an earning row of the
   folio, and the daily cap's join on customer and folio. Without this index each
   of them reads the whole ledger. CLIENTE_ID is in it so that the cap's join
   matches it whole: on FOLIO alone the engine may combine it with
   LAR_PUNTOS_IDX1, which for the general-public customer reads that customer's
   whole history once per document of the day. */
CREATE INDEX LAR_PUNTOS_IDX3 ON LAR_PUNTOS (FOLIO, CLIENTE_ID);

COMMIT WORK;
