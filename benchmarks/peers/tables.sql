CREATE TABLE flights AS FROM read_parquet('FLIGHTS');
CREATE TABLE mixed AS SELECT
    i::INTEGER AS a, i AS b, i / 7 AS c, i % 3 = 0 AS d, 'the text of cell ' || i AS e,
    DATE '1970-01-01' + (i % 50000)::INTEGER AS f,
    TIMESTAMP '2000-01-01' + to_microseconds(i * 1000003) AS g,
    (i / 8)::DECIMAL(18, 3) AS h
FROM range(1000000) r(i);
