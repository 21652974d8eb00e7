// read TABLES_SQL TABLE: reads a table row by row through database/sql; prints seconds and cells.
package main

import (
	"database/sql"
	"fmt"
	"os"
	"syscall"

	_ "github.com/duckdb/duckdb-go/v2"
)

func must(err error) {
	if err != nil {
		panic(err)
	}
}

func processorTime() float64 {
	var usage syscall.Rusage
	must(syscall.Getrusage(syscall.RUSAGE_SELF, &usage))
	seconds := func(t syscall.Timeval) float64 { return float64(t.Sec) + float64(t.Usec)*1e-6 }
	return seconds(usage.Utime) + seconds(usage.Stime)
}

func read(database *sql.DB, table string) int {
	rows, err := database.Query("FROM " + table)
	must(err)
	defer rows.Close()
	names, err := rows.Columns()
	must(err)
	row := make([]any, len(names))
	into := make([]any, len(names))
	for i := range row {
		into[i] = &row[i]
	}
	cells := 0
	for rows.Next() {
		must(rows.Scan(into...))
		cells += len(row)
	}
	must(rows.Err())
	return cells
}

func main() {
	tables, err := os.ReadFile(os.Args[1])
	must(err)
	database, err := sql.Open("duckdb", "")
	must(err)
	database.SetMaxOpenConns(1)
	_, err = database.Exec(string(tables))
	must(err)
	read(database, os.Args[2])
	start := processorTime()
	cells := read(database, os.Args[2])
	fmt.Println(processorTime()-start, cells)
}
