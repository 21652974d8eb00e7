-- A first database. Run it in an empty folder:
--
--     orsql books.db -f 1_first_database.sql
--
-- books.db is made when it isn't there. A statement ends at its ";", a line that begins with a dot is a
-- command of the shell.

CREATE TABLE books (title VARCHAR, pages INTEGER, read_on DATE);
INSERT INTO books VALUES
    ('The Left-Handed Lighthouse', 312, DATE '2024-01-31'),
    ('A Field Guide to Clouds', 96, NULL),
    ('Notes on ; and Other Marks', 148, DATE '2024-06-02');

-- Six forms of output: box, csv, json, jsonl, line and markdown.
.mode box
SELECT title, pages, read_on FROM books ORDER BY pages;

.mode line
.null '(not yet)'
SELECT title, read_on FROM books WHERE read_on IS NULL;

-- What is there, and the SQL that makes it.
.mode csv
.tables
.schema books

-- What ROLLBACK takes back was never there.
BEGIN;
DELETE FROM books;
ROLLBACK;
SELECT count(*) AS books FROM books;

-- The database is closed and its file deleted.
.drop
