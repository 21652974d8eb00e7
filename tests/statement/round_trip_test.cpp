#include "statement_fixture.h"
#include <iostream>
namespace orkit::orsql::test {
namespace {
class RoundTrip : public StatementTest {};
TEST_F(RoundTrip, Print) {
    Execute(mDatabase, "SET TimeZone = 'UTC'");
    for (const char* e : {"true","false","(-5)::TINYINT","5::SMALLINT","5","5::BIGINT","5::UTINYINT","5::USMALLINT","5::UINTEGER","5::UBIGINT",
        "170141183460469231731687303715884105727::HUGEINT","340282366920938463463374607431768211455::UHUGEINT","1.5::FLOAT","0.1::FLOAT","'nan'::FLOAT","'inf'::DOUBLE","0.1::DOUBLE","'-0'::DOUBLE","1.25::DECIMAL(3,2)","1.50::DECIMAL(10,4)","0.5::DECIMAL(3,2)","0.5::DECIMAL(3,3)","(-0.05)::DECIMAL(3,2)","1::DECIMAL(5,0)","12345678901234567890123456789012345678::DECIMAL(38,0)","0.00000000000000000000000000000000000001::DECIMAL(38,38)","'a'","''","'\\xCA\\xFE'::BLOB","''::BLOB","uuid()","DATE '2024-01-31'","DATE '0044-03-15 (BC)'","'infinity'::DATE","'5877642-06-25 (BC)'::DATE","TIME '12:30:00.25'","TIME '24:00:00'","'12:30:00.000000001'::TIME_NS","'12:30:00+02'::TIMETZ","'2024-01-31 12:30:00'::TIMESTAMP_S","'infinity'::TIMESTAMP_S","'2024-01-31 12:30:00.123'::TIMESTAMP_MS","'1969-12-31 23:59:59.999'::TIMESTAMP_MS","'0044-03-15 (BC) 12:00:00'::TIMESTAMP_MS","'infinity'::TIMESTAMP_MS","'2024-01-31 12:30:00.000001'::TIMESTAMP","'-infinity'::TIMESTAMP","'2024-01-31 12:30:00.123456789'::TIMESTAMP_NS","'2024-01-31 12:30:00.5+02'::TIMESTAMPTZ","'infinity'::TIMESTAMPTZ","INTERVAL '1 year 2 months 3 days 4.5 seconds'","INTERVAL '-1 month -2 days'","INTERVAL '-0.000001 seconds'","'0101'::BIT","'340282366920938463463374607431768211456'::BIGNUM","'-1'::BIGNUM","'POINT(1.5 2)'::GEOMETRY","'POINT Z(1 2 3)'::GEOMETRY","'LINESTRING EMPTY'::GEOMETRY","'b'::ENUM('a','b')","[1,2,NULL]","[]::INTEGER[]","[1.5::DOUBLE,'nan'::DOUBLE]","{'a':1,'b':'x'}","{'a':1.5::DECIMAL(3,2)}","{'a':DATE '2024-01-31'}","[1::TINYINT]","[18446744073709551615::UBIGINT]","[340282366920938463463374607431768211455::UHUGEINT]","[0.1::FLOAT]","['\\xAA'::BLOB]","[uuid()]","[true,NULL]","map{'k':1}","array_value(1,2)","union_value(k:=1)","{'a':{'b':[1,{'c':NULL}]}}","['quote \" and \\ and \n']","['a' || chr(0) || 'b']","'a' || chr(0) || 'b'","'{\"a\":1}'::JSON","'[1]'::JSON","'5'::JSON","NULL","NULL::VARIANT","5::VARIANT","[INTERVAL '1 day']","[[1],[2]]","[-1,5,3000000000]","[1e300]","{'A':1,'a':2}","{'':1}"}) {
        try {
        auto c = mDatabase->SqlSelect(Wide(std::string("SELECT (") + e + ")::VARIANT, variant_typeof((" + e + ")::VARIANT)"), 1, nullptr);
        c->FirstRecord();
        Value v = c->get_Value(0);
        std::cout << e << " | " << v->get_Type() << " | " << Text(v) << " | " << Text(c->get_Value(1));
        std::cout.flush();
        auto r = RunWith(std::string("SELECT typeof($1), variant_typeof($1::VARIANT), $1::VARIANT IS NOT DISTINCT FROM (") + e + ")::VARIANT, $1::VARIANT::VARCHAR IS NOT DISTINCT FROM (" + e + ")::VARIANT::VARCHAR", {v});
        for (auto& s : r.at(0)) std::cout << " | " << s;
        } catch (const xException& x) { std::cout << "XX " << e << " RAISES " << Text(*x.get_Text(1)); }
          catch (const std::exception& x) { std::cout << "XX " << e << " STD " << x.what(); }
        std::cout << "\n";
    }
}
}
}
