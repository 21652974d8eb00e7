import java.lang.management.ManagementFactory;
import java.nio.file.Files;
import java.nio.file.Path;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.ResultSet;
import java.sql.Statement;

/** Read TABLES_SQL TABLE: reads a table row by row through JDBC; prints seconds and cells. */
public class Read {
    static long read(Connection connection, String table) throws Exception {
        long cells = 0;
        try (Statement statement = connection.createStatement();
             ResultSet rows = statement.executeQuery("FROM " + table)) {
            int columns = rows.getMetaData().getColumnCount();
            while (rows.next()) {
                for (int column = 1; column <= columns; ++column) {
                    if (rows.getObject(column) != null || rows.wasNull()) {
                        ++cells;
                    }
                }
            }
        }
        return cells;
    }

    public static void main(String[] arguments) throws Exception {
        var system = (com.sun.management.OperatingSystemMXBean) ManagementFactory.getOperatingSystemMXBean();
        try (Connection connection = DriverManager.getConnection("jdbc:duckdb:");
             Statement statement = connection.createStatement()) {
            statement.execute(Files.readString(Path.of(arguments[0])));
            read(connection, arguments[1]);
            long start = system.getProcessCpuTime();
            long cells = read(connection, arguments[1]);
            System.out.println((system.getProcessCpuTime() - start) * 1e-9 + " " + cells);
        }
    }
}
