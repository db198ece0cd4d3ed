xquery version "3.1";

(: Payments, and the sum of each currency at the end. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $app-title as xs:string external;

declare function local:amount($payment as element(record)) as xs:decimal? {
  ev:field($payment, "amount") ! xs:decimal(substring-before(., " "))
};

<results kind="payment" source="{ $app-title }">{
  let $payments := ev:records($evidence, "payment_db", "payment")
  return (
    for $payment in $payments
    order by ev:field($payment, "paid_at") descending
    return
      <payment direction="{ ev:field($payment, 'direction') }">{
        ev:attribute("id", $payment/@id),
        ev:attribute("ride", $payment/field[@name = "ride_id"]/@ref),
        ev:origin($payment),
        ev:element("time", ev:field($payment, "paid_at")),
        ev:element("amount", ev:field($payment, "amount"))
      }</payment>,
    for $payment in $payments
    group by $currency := ev:field($payment, "currency")
    order by $currency
    return
      <sum currency="{ $currency }">{ sum($payment ! local:amount(.)) }</sum>
  )
}</results>
