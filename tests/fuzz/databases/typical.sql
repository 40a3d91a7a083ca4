-- A database as the tool creates it: two devices, a type that both use, a reading without values,
-- and values in another order than their readings.
CREATE TABLE device(id integer primary key autoincrement, model text, serial text, sw_version text, hw_version text);
CREATE TABLE measurement_type(id integer primary key autoincrement, name text);
CREATE TABLE measurement_metadata(id integer primary key autoincrement, timestamp integer, meas_state integer, device_id integer);
CREATE TABLE measurement_value(id integer primary key autoincrement, measurement_id integer, measurement_type_id integer, value real);
INSERT INTO device(model, serial, sw_version, hw_version) VALUES
  ('KVT-1', 'S-1', '1.2.3', 'A'), ('KVT-300', 'S-2', '2.0', 'B');
INSERT INTO measurement_type(name) VALUES ('T'), ('O3');
INSERT INTO measurement_metadata(timestamp, meas_state, device_id) VALUES
  (1510568430000, 1, 1), (1510568490000, 0, 1), (1510568550000, 4, 2), (1510568610000, 1, 1);
INSERT INTO measurement_value(measurement_id, measurement_type_id, value) VALUES
  (1, 1, 21.5), (4, 2, 0.5), (1, 2, 0.03), (3, 1, -1e300);
