-- Parameters, and values that keep their type on the way to DuckDB and back.
--
--     orsql -f 3_parameters_and_variant.sql
.mode box

CREATE TABLE measures (station VARCHAR, measured_at TIMESTAMP, celsius DOUBLE);

-- Values are held for the next statements, the first for $1. ".bind" alone lets them go.
.bind harbour datetime '2024-01-31 12:30:00.250' -3.5
INSERT INTO measures VALUES ($1, $2, $3);
.bind

-- An array is one parameter.
.bind [harbour, airport]
SELECT * FROM measures WHERE station IN (SELECT unnest($1));
.bind

-- A host value has no DuckDB type such as UUID or DECIMAL. A JSON envelope names it.
.bind json '{"duckdb_value": true, "value_type": "UUID", "value": "1b671a64-40d5-491e-99b0-da01ff1f3341"}'
SELECT typeof(id) AS type, id FROM (SELECT $1 AS id);
.bind

-- A VARIANT holds a value of any type. What the host has a type for comes as such a value; the rest comes as an
-- envelope that names the type, and can be bound as it is.
.mode jsonl
SELECT DATE '2024-01-31'::VARIANT AS day, 1.25::DECIMAL(5, 2)::VARIANT AS amount;

.bind json '{"duckdb_variant": true, "variant_type": "DECIMAL", "value": "1.25"}'
SELECT typeof(amount) AS type, amount FROM (SELECT $1 AS amount);
.bind
