-- The database after the first start.
CREATE TABLE device(id integer primary key autoincrement, model text, serial text, sw_version text, hw_version text);
CREATE TABLE measurement_type(id integer primary key autoincrement, name text);
CREATE TABLE measurement_metadata(id integer primary key autoincrement, timestamp integer, meas_state integer, device_id integer);
CREATE TABLE measurement_value(id integer primary key autoincrement, measurement_id integer, measurement_type_id integer, value real);
